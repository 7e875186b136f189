// Window library: overlapping windows of character cells over a 24 by 80
// screen image, drawing into them, and the refresh that sends only the
// changed cells. Callers hold window ids only.
#pragma once

#include "support/support.h"

constexpr int ATTR_REV = 1;
constexpr int ATTR_BLINK = 2;
constexpr int ATTR_BOLD = 4;
constexpr int ATTR_UND = 8;
constexpr int ATTR_LINE = 16;
constexpr int ATTR_CHANGED = 64;

constexpr int WIN_SCREEN_ROWS = 24;
constexpr int WIN_SCREEN_COLUMNS = 80;
constexpr int WIN_MAX_IDS = 100;
// ---- records and stack --------------------------------------------------------
int win_create(int parent, const char *name, int row, int column, int rows, int columns);
int win_check_id(int id); // 0 when 0..99, else -1

// ---- drawing ----------------------------------------------------------------------
int win_clear(int id, int row, int column, int rows, int columns);
int win_puts(int id, int row, int column, const char *text, int attribute);
int win_cursor(int id, int row, int column);
// Puts the terminal's cursor back where win_cursor last put it, after a
// repaint has moved it; -1 when win_cursor has not placed it yet.
int win_cursor_again();
int win_line_cell(int id, int merge, int row, int column, int mask);
int win_hline(int id, int merge, int ends, int row, int column, int length);
int win_vline(int id, int merge, int ends, int row, int column, int length);
int win_box(int id, int merge, int row, int column, int rows, int columns);
int win_put_lines(int id, int merge, int row, int column, const char *pattern);

// ---- refresh and visibility ---------------------------------------------------------
int win_refresh(int id, int row, int column, int rows, int columns);
int win_show(int id);
int win_hide(int id);
int win_destroy(int id);
// Three term_ calls live in the window library (win/refresh.cpp): named for
// the terminal they clear and resend, they work on the screen image.
void term_blank_screen();
int term_screen_state(int mode);
int term_repaint();
