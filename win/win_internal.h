// Pieces shared by the window library's own sources; not for callers.
#pragma once

#include "win/win.h"

constexpr unsigned char WIN_BLANK_COLOUR = 0xB0;
constexpr unsigned char WIN_LINE_COLOUR = 0xC0;
constexpr unsigned char WIN_REVERSE_COLOUR = 0x4F;

// The sixteen strings that set each reverse/blink/bold/underline combination.
extern const char *win_attribute_table[16];

// Makes sure the id table and the screen window exist.
void win_init();
// Returns an id to the end of the free queue.
void win_give_back_id(int id);
// Join mask to line character; 0 when the mask names no piece.
char win_join_character(int mask);
