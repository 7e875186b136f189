// Shared between the terminal library's own source files only.
#pragma once

#include <cstddef>

#include "term/term.h"

// Settles the cursor-left and cursor-up strings and parses "cm"; run by
// term_init once the entry is loaded.
void term_settle_motion();

void tc_reset();
void output_reset();
void key_reset();

// tc_terminfo_entry's conversion of one compiled entry held in memory, and
// of one terminfo cursor string into the cursor template (its length, or -1
// when the template cannot express it).
int tc_terminfo_convert(const unsigned char *data, size_t length, const char *name, char *buffer,
                        size_t size);
int tc_terminfo_cup(const char *cup, char *out, size_t size);

// Key names that only the standard termcap dialect uses: their presence
// (without FS) numbers the function keys the standard way.
