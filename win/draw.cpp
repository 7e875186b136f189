// Drawing into a window's own cells: blanking, text, line pieces. Only
// win_cursor touches the terminal.
#include "win/win_internal.h"

#include <cstring>
#include <unistd.h>

#include "term/term.h"

namespace {

// Where win_cursor last put the terminal's cursor (-1: nowhere yet).
int last_cursor_row = -1;
int last_cursor_column = -1;

void send_cursor(int y, int x) {
    last_cursor_row = y;
    last_cursor_column = x;
    const char *motion = term_goto(y, x);
    size_t length = 0;
    while (motion[length])
        length++;
    // Standard error is unbuffered, so the motion lands at once.
    term_write(2, motion, length);
}

void move_cursor(Window *w, int row, int column) {
    if (row == -1)
        row = w->cursor_row;
    if (column == -1)
        column = w->cursor_column;
    if (row < 0 || row >= w->rows || column < 0 || column >= w->columns) {
        row = 0;
        column = 0;
    }
    w->cursor_row = row;
    w->cursor_column = column;
}

unsigned char colour_for(const Window *w, unsigned char attribute) {
    if (attribute & ATTR_LINE)
        return w->line_colour;
    if (attribute & ATTR_REV)
        return w->reverse_colour;
    return w->normal_colour;
}

// Text comes from files that any local user may write (ipaddr is mode 0666)
// and goes to root's terminal: a control byte there (C0, DEL or C1) could set
// the title, switch key modes or move the cursor. On a UTF-8 terminal any
// byte from 0x80 up is part of a sequence that moves the cursor less than one
// cell per byte and leaves stale text behind, so it is shown as "?" too.
// Every text cell is filled here, so this one rule keeps them all out; the
// lists and files keep the original bytes.
unsigned char visible(char c, int utf8) {
    unsigned char u = static_cast<unsigned char>(c);
    if (u < 32 || u == 127 || (u >= 128 && (utf8 || u < 160)))
        return '?';
    return u;
}

int put_char(Window *w, char c, int utf8) {
    long n = static_cast<long>(w->cursor_row) * w->columns + w->cursor_column;
    if (n < 0 || n >= w->cell_count)
        return -1;
    Cell &cell = w->cells[n];
    cell.character = visible(c, utf8);
    cell.attribute = w->attribute;
    cell.colour = colour_for(w, w->attribute);
    w->cursor_column++;
    return 0;
}

// The pieces of win_put_lines's patterns: "-" (or "0") and "|" (or ".")
// lines, and the digits as in WIN_LINE_CHARACTERS.
int pattern_mask(char c) {
    if (c == '-' || c == '0')
        return JOIN_LEFT | JOIN_RIGHT;
    if (c == '|' || c == '.')
        return JOIN_UP | JOIN_DOWN;
    for (int mask = 0; c >= '1' && c <= '9' && mask < 16; mask++)
        if (WIN_LINE_CHARACTERS[mask] == c)
            return mask;
    return 0;
}

} // namespace

const char WIN_LINE_CHARACTERS[16] = {
    0,   // no joins
    '|', // up
    '-', // left
    '3', // up, left: bottom right corner
    '-', // right
    '1', // up, right: bottom left corner
    '-', // left, right
    '2', // up, left, right: bottom tee
    '|', // down
    '|', // up, down
    '9', // left, down: top right corner
    '6', // up, left, down: right tee
    '7', // right, down: top left corner
    '4', // up, right, down: left tee
    '8', // left, right, down: top tee
    '5', // all four: cross
};

char win_join_character(int mask) {
    return mask >= 0 && mask < 16 ? WIN_LINE_CHARACTERS[mask] : 0;
}
namespace {

// Looks the window up; a negative extent reaches the window's far edge.
Window *area(int id, int row, int column, int *rows, int *columns) {
    Window *w = win_lookup(id);
    if (w && *rows < 0)
        *rows = w->rows - row;
    if (w && *columns < 0)
        *columns = w->columns - column;
    return w;
}

} // namespace

int win_clear(int id, int row, int column, int rows, int columns) {
    Window *w = area(id, row, column, &rows, &columns);
    if (!w)
        return -1;
    // Blanked screen cells differ from what the terminal shows: mark them.
    win_clear_cells(w, row, column, rows, columns, w == win_lookup(0) ? ATTR_CHANGED : 0);
    return 0;
}

void win_clear_cells(Window *w, int row, int column, int rows, int columns,
                     unsigned char attribute) {
    if (rows < 0)
        rows = w->rows - row;
    if (columns < 0)
        columns = w->columns - column;
    int top = row < 0 ? 0 : row;
    int left = column < 0 ? 0 : column;
    int bottom = row + rows > w->rows ? w->rows : row + rows;
    int right = column + columns > w->columns ? w->columns : column + columns;
    if (top >= bottom || left >= right)
        return;
    // One row is filled cell by cell and copied to the others: a window is
    // cleared whole when it is made, and this was most of that time.
    Cell *first = w->cells + top * w->columns + left;
    for (int x = 0; x < right - left; x++)
        first[x] = Cell{' ', attribute, WIN_BLANK_COLOUR, 0};
    size_t bytes = sizeof(Cell) * static_cast<size_t>(right - left);
    for (int y = top + 1; y < bottom; y++)
        memcpy(w->cells + y * w->columns + left, first, bytes);
}

int win_puts(int id, int row, int column, const char *text, int attribute) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    move_cursor(w, row, column);
    unsigned char own = w->attribute;
    if (attribute >= 0 && attribute < 255)
        w->attribute = static_cast<unsigned char>(attribute);
    int written = 0;
    int utf8 = term_utf8_locale();
    if (text)
        for (; text[written]; written++)
            if (put_char(w, text[written], utf8) < 0)
                break;
    w->attribute = own;
    return written;
}

int win_cursor(int id, int row, int column) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    if (row >= 0 || column >= 0)
        move_cursor(w, row, column);
    int y = w->cursor_row + w->screen_row;
    int x = w->cursor_column + w->screen_column;
    if (y >= 0 && y < WIN_SCREEN_ROWS && x >= 0 && x < WIN_SCREEN_COLUMNS)
        send_cursor(y, x);
    return 0;
}

int win_cursor_again() {
    if (last_cursor_row < 0)
        return -1;
    send_cursor(last_cursor_row, last_cursor_column);
    return 0;
}

int win_line_cell(int id, int merge, int row, int column, int mask) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    if (row < 0 || row >= w->rows || column < 0 || column >= w->columns)
        return -1;
    Cell &cell = w->cells[row * w->columns + column];
    if (merge) {
        // Text keeps no meaningful joins: start the piece afresh.
        if (cell.attribute != ATTR_LINE)
            cell.join = 0;
        cell.join = static_cast<unsigned char>(cell.join | mask);
    } else {
        cell.join = static_cast<unsigned char>(mask);
    }
    cell.attribute = ATTR_LINE;
    char c = win_join_character(cell.join);
    if (c)
        cell.character = static_cast<unsigned char>(c);
    return 0;
}

namespace {

// Both directions share one walk: first cell, middle cells, last cell, so a
// one-cell line merges its two ends into the same cell.
int line(int id, int merge, int ends, int row, int column, int length, bool down) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    if (length < 0)
        length = down ? w->rows - row : w->columns - column;
    if (length < 1)
        return -1;
    int dy = down ? 1 : 0, dx = down ? 0 : 1;
    int through = down ? JOIN_UP | JOIN_DOWN : JOIN_LEFT | JOIN_RIGHT;
    win_line_cell(id, merge, row, column, ends ? (down ? JOIN_DOWN : JOIN_RIGHT) : through);
    for (int i = 1; i <= length - 2; i++)
        win_line_cell(id, merge, row + i * dy, column + i * dx, through);
    win_line_cell(id, merge, row + (length - 1) * dy, column + (length - 1) * dx,
                  ends ? (down ? JOIN_UP : JOIN_LEFT) : through);
    return 0;
}

} // namespace

int win_hline(int id, int merge, int ends, int row, int column, int length) {
    return line(id, merge, ends, row, column, length, false);
}

int win_vline(int id, int merge, int ends, int row, int column, int length) {
    return line(id, merge, ends, row, column, length, true);
}

int win_box(int id, int merge, int row, int column, int rows, int columns) {
    Window *w = area(id, row, column, &rows, &columns);
    if (!w)
        return -1;
    if (rows < 2 || columns < 2)
        return -1;
    int last_row = row + rows - 1;
    int last_column = column + columns - 1;
    win_line_cell(id, merge, row, column, JOIN_RIGHT | JOIN_DOWN);
    win_hline(id, merge, WIN_THROUGH, row, column + 1, columns - 2);
    win_line_cell(id, merge, row, last_column, JOIN_LEFT | JOIN_DOWN);
    win_vline(id, merge, WIN_THROUGH, row + 1, column, rows - 2);
    win_vline(id, merge, WIN_THROUGH, row + 1, last_column, rows - 2);
    win_line_cell(id, merge, last_row, column, JOIN_UP | JOIN_RIGHT);
    win_hline(id, merge, WIN_THROUGH, last_row, column + 1, columns - 2);
    win_line_cell(id, merge, last_row, last_column, JOIN_UP | JOIN_LEFT);
    return 0;
}

int win_put_lines(int id, int merge, int row, int column, const char *pattern) {
    if (!win_lookup(id))
        return -1;
    int i = 0;
    if (pattern)
        for (; pattern[i]; i++) {
            int mask = pattern_mask(pattern[i]);
            if (mask)
                win_line_cell(id, merge, row, column + i, mask);
        }
    return i;
}
