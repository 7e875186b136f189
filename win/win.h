// Window library: overlapping windows of character cells over a 24 by 80
// screen image, drawing into them, and the refresh that sends only the
// changed cells. Callers hold window ids only; -1 as an id names the screen
// window (id 0), and every call on an unknown id returns -1.
#pragma once

#include "support/support.h"

// Attribute bits of a cell and of drawing calls.
constexpr int ATTR_REV = 1;      // reverse video
constexpr int ATTR_BLINK = 2;    // blinking
constexpr int ATTR_BOLD = 4;     // bold
constexpr int ATTR_UND = 8;      // underlined
constexpr int ATTR_LINE = 16;    // the cell holds a line piece, named by its character
constexpr int ATTR_CHANGED = 64; // screen image only: differs from the terminal

constexpr int WIN_SCREEN_ROWS = 24;
constexpr int WIN_SCREEN_COLUMNS = 80;
constexpr int WIN_MAX_IDS = 100; // ids 0..99; 0 is the screen window

// A size or length that stands for all rows or columns from the position to
// the window's last one.
constexpr int WIN_ALL = -1;
// How line drawing treats the join masks already in the cells.
constexpr int WIN_REPLACE = 0; // the new mask replaces the old
constexpr int WIN_MERGE = 1;   // added to it: crossing lines become tees and crosses
// How a line ends.
constexpr int WIN_THROUGH = 0; // both end cells drawn full width
constexpr int WIN_ENDS = 1;    // end cells join inward only: tees where they meet a box side

// ---- window.cpp: ids, creation and destruction -----------------------------------
// A hidden, blank window at (row, column) of parent (-1: a top-level window on
// the screen), rows by columns (WIN_ALL: up to the parent's last); its id, or
// -1 when no id is free, the parent is unknown, a size is below 1 or memory runs out.
int win_create(int parent, const char *name, int row, int column, int rows, int columns);
int win_check_id(int id); // 0 when 0..99, else -1
// Hides the window, uncovering what lies beneath, and ends it with all its
// descendants. 0; an id of 0 or below is refused with 0 and nothing done.
int win_destroy(int id);

// ---- draw.cpp: drawing into a window's cells (window-relative positions) ------------
// Blanks the area (WIN_ALL sizes reach the last row or column). 0.
int win_clear(int id, int row, int column, int rows, int columns);
// Writes text at (row, column) (-1 keeps the cursor's row or column) with
// attribute (255: the window's own); the number of characters written.
int win_puts(int id, int row, int column, const char *text, int attribute);
// Sets the window cursor (unless both are below 0) and moves the terminal's
// cursor there at once. 0.
int win_cursor(int id, int row, int column);
// Puts the terminal's cursor back where win_cursor last put it, after a
// repaint has moved it; -1 when win_cursor has not placed it yet.
int win_cursor_again();
// One line piece with join mask (1 up, 2 left, 4 right, 8 down), WIN_MERGE or
// WIN_REPLACE; -1 when the position lies outside the window.
int win_line_cell(int id, int merge, int row, int column, int mask);
// A horizontal line of length cells (WIN_ALL: to the last column), merged or
// replacing, WIN_ENDS or WIN_THROUGH; -1 when the length comes out below 1.
int win_hline(int id, int merge, int ends, int row, int column, int length);
// The same down a column (WIN_ALL: to the last row).
int win_vline(int id, int merge, int ends, int row, int column, int length);
// A single box, merged or replacing (WIN_ALL sizes reach the last row or
// column); -1 when a size comes out below 2.
int win_box(int id, int merge, int row, int column, int rows, int columns);
// Line pieces from a pattern of keypad digits and line characters, one cell
// per character; the number of pattern characters read.
int win_put_lines(int id, int merge, int row, int column, const char *pattern);

// ---- refresh.cpp: composing the image and sending the changes ------------------------
// Composes the area from the visible windows and sends its changed cells.
// 0; -1 when the area misses the window or the screen, or output is off.
int win_refresh(int id, int row, int column, int rows, int columns);
int win_show(int id); // clears the hidden flag and refreshes the window; 0
// Sets the hidden flag and refreshes, uncovering what lies beneath; 0 (and
// nothing done for an id of 0 or below).
int win_hide(int id);
// Three term_ calls live in the window library (win/refresh.cpp): named for
// the terminal they clear and resend, they work on the screen image.
// Blanks the image without change marks and clears the terminal.
void term_blank_screen();
// Output on or off: 0 hides (blanks the terminal, stops sending), 1 shows
// again (sends everything that differs), any other only asks. The shown flag.
int term_screen_state(int mode);
// Clears the terminal and sends the whole screen again; the shown flag.
int term_repaint();
