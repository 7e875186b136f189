// Shared between the terminal library's own source files only.
#pragma once

// Settles the cursor-left and cursor-up strings and parses "cm"; run by
// term_init once the entry is loaded.
void term_settle_motion();

void tc_reset();
void output_reset();
void key_reset();
