// Pieces shared by the window library's own sources; not for callers.
#pragma once

#include "win/win.h"

#include "term/term.h"

constexpr int WIN_TAG = 332439; // 0x51297

struct Cell {
    unsigned char character;
    unsigned char attribute;
    unsigned char colour;
    unsigned char join; // JOIN_* bits of a line piece, else 0
};

struct Window {
    int tag;
    unsigned char flags; // WIN_HIDDEN
    unsigned char attribute;
    unsigned char normal_colour;
    unsigned char line_colour;
    unsigned char reverse_colour;
    char name[24];
    int rows;
    int columns;
    int cell_count;
    Cell *cells;
    Chain *children; // ids, most recent first
    int parent;
    ChainNode *parent_node;
    int cursor_row;
    int cursor_column;
    int screen_row;
    int screen_column;
};

constexpr unsigned char WIN_HIDDEN = 2;

// The record of an id (-1 is taken as 0); none for unknown ids.
Window *win_lookup(int id);

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

// Blanks a rectangle of w's cells, each with the given attribute byte
// (ATTR_CHANGED marks screen cells for the next send).
void win_clear_cells(Window *w, int row, int column, int rows, int columns,
                     unsigned char attribute);

// ---- line pieces -------------------------------------------------------------
// The directions in which a line piece joins its neighbours: a cell's join mask.
constexpr int JOIN_UP = 1;
constexpr int JOIN_LEFT = 2;
constexpr int JOIN_RIGHT = 4;
constexpr int JOIN_DOWN = 8;

// The character a line piece is stored as, by join mask (0: no piece).
// Keypad digits name a piece by where it sits in a box: 7 top left ... 3
// bottom right. The refresh sends a line cell by this character, never by
// its mask, so text written with the line attribute stays text.
extern const char WIN_LINE_CHARACTERS[16];

// ---- composing and sending -----------------------------------------------------
// A rectangle of the screen, in absolute coordinates.
struct WinRect {
    int row;
    int column;
    int rows;
    int columns;
};

constexpr WinRect WIN_SCREEN_RECT{0, 0, WIN_SCREEN_ROWS, WIN_SCREEN_COLUMNS};

WinRect win_rect_of(const Window *w);
// Intersection of a and b into *out; -1 when they do not meet.
int win_clip(const WinRect &a, const WinRect &b, WinRect *out);
// Copies what is visible of w and its descendants within area into the
// screen image, marking the cells that change.
int win_compose(Window *screen, Window *w, const WinRect &area);
// Sends the marked cells of area in runs; -1 while the screen is not shown.
int win_send(Window *screen, const WinRect &area);
