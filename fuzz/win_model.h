// A second, plain account of the window rules for the window fuzz target: the
// id queue, the window tree, drawing into cells, the screen image with its
// change marks and the exact bytes each refresh sends, for the readable
// terminal that fuzz_screen.h loads. It is written from the rules alone and
// shares no code or table with the library: where the two disagree, one of
// them is wrong. It composes by painting windows bottom to top, not by
// splitting rectangles, so that a fault in either way shows.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

// Not what is being fuzzed: no coverage, no undefined-behaviour checks.
#pragma clang attribute push(__attribute__((no_sanitize("coverage", "undefined"))),                \
                             apply_to = function)

namespace model {

constexpr int ROWS = 24;
constexpr int COLS = 80;
constexpr int IDS = 100;

constexpr uint8_t REV = 1;
constexpr uint8_t LINE = 16;
constexpr uint8_t CHANGED = 64;
constexpr uint8_t BLANK_COLOUR = 0xB0;
constexpr uint8_t LINE_COLOUR = 0xC0;
constexpr uint8_t REVERSE_COLOUR = 0x4F;

// Character, attribute, colour, joins: the order of the library's cells, so
// that images compare byte for byte.
struct MCell {
    uint8_t ch;
    uint8_t attr;
    uint8_t colour;
    uint8_t join;
};

constexpr MCell BLANK{' ', 0, BLANK_COLOUR, 0};

inline bool same(const MCell &a, const MCell &b) {
    uint32_t x, y;
    std::memcpy(&x, &a, sizeof x);
    std::memcpy(&y, &b, sizeof y);
    return x == y; // all four fields at once
}

struct Rect {
    int row;
    int col;
    int rows;
    int cols;
};

// The common part of a and b; false when either is empty or they miss.
inline bool meet(const Rect &a, const Rect &b, Rect *out) {
    if (a.rows < 1 || a.cols < 1 || b.rows < 1 || b.cols < 1)
        return false;
    int top = a.row > b.row ? a.row : b.row;
    int left = a.col > b.col ? a.col : b.col;
    int bottom = a.row + a.rows < b.row + b.rows ? a.row + a.rows : b.row + b.rows;
    int right = a.col + a.cols < b.col + b.cols ? a.col + a.cols : b.col + b.cols;
    if (top >= bottom || left >= right)
        return false;
    *out = Rect{top, left, bottom - top, right - left};
    return true;
}

constexpr Rect SCREEN{0, 0, ROWS, COLS};

struct MWin {
    bool used = false;
    bool hidden = false;
    bool linked = false; // holds a place among its parent's children
    uint8_t attr = 0;
    int rows = 0, cols = 0;
    int srow = 0, scol = 0; // on the screen
    int crow = 0, ccol = 0; // cursor, in the window
    int parent = -1;
    std::vector<int> children; // most recent first
    // Kept from one window of this id to the next: the standard containers'
    // fill is instrumented per cell, and costs more than the rest.
    MCell *cells = nullptr;
    size_t count = 0;
    size_t capacity = 0;

    void blank(size_t n) {
        if (n > capacity) {
            delete[] cells;
            cells = new MCell[n];
            capacity = n;
        }
        count = n;
        for (size_t i = 0; i < n; i++)
            cells[i] = BLANK;
    }
};

// The terminal of fuzz_screen.h: cm=<%d,%d>, cl=[CL], aw#1, these attribute
// strings (the rest absent), and GS={ GE=} and the pieces below.
const char *const ATTR_TEXT[16] = {"[N]", "[R]", "[K]", "", "[B]", "", "", "",
                                   "[U]", "",    "",    "", "",    "", "", ""};
const char *const GS = "{";
const char *const GE = "}";

// The line string that draws a line cell's character, or none.
inline const char *piece_text(uint8_t c) {
    switch (c) {
    case '-':
    case '0':
        return "-"; // GH
    case '|':
    case '.':
        return "!"; // GV
    case '7':
        return "a"; // G2, top left
    case '8':
        return "T"; // GD, top tee
    case '9':
        return "b"; // G1, top right
    case '4':
        return "R"; // GR, left tee
    case '5':
        return "+"; // GC, cross
    case '6':
        return "L"; // GL, right tee
    case '1':
        return "c"; // G3, bottom left
    case '2':
        return "U"; // GU, bottom tee
    case '3':
        return "d"; // G4, bottom right
    default:
        return nullptr;
    }
}

// The character of a line piece by its joins (1 up, 2 left, 4 right, 8 down).
inline uint8_t join_char(int mask) {
    switch (mask) {
    case 1:
    case 8:
    case 9:
        return '|';
    case 2:
    case 4:
    case 6:
        return '-';
    case 12:
        return '7';
    case 14:
        return '8';
    case 10:
        return '9';
    case 13:
        return '4';
    case 15:
        return '5';
    case 11:
        return '6';
    case 5:
        return '1';
    case 7:
        return '2';
    case 3:
        return '3';
    default:
        return 0;
    }
}

inline int pattern_joins(char c) {
    switch (c) {
    case '-':
    case '0':
        return 6;
    case '|':
    case '.':
        return 9;
    case '1':
        return 5;
    case '2':
        return 7;
    case '3':
        return 3;
    case '4':
        return 13;
    case '5':
        return 15;
    case '6':
        return 11;
    case '7':
        return 12;
    case '8':
        return 14;
    case '9':
        return 10;
    default:
        return 0;
    }
}

struct State {
    MWin win[IDS];
    int queue[IDS]; // free ids, first in first out
    int queue_first;
    int queue_count;
    int shown;
    int utf8;
    std::string sent;
    MCell composed[ROWS * COLS];

    MCell *image() { return win[0].cells; }

    // The library's state after start-up: the screen window (id 0) shown
    // and blank, ids 1 to 99 free in order, output on.
    void start() {
        for (int i = 0; i < IDS; i++)
            win[i].used = false;
        queue_first = 0;
        queue_count = 0;
        for (int i = 1; i < IDS; i++)
            queue[queue_count++] = i;
        MWin &s = win[0];
        s.used = true;
        s.rows = ROWS;
        s.cols = COLS;
        s.parent = -1;
        s.blank(ROWS * COLS);
        shown = 1;
        utf8 = 0;
        sent.clear();
    }

    MWin *find(int id) {
        if (id == -1)
            id = 0;
        if (id < 0 || id >= IDS || !win[id].used)
            return nullptr;
        return &win[id];
    }

    int take_id() {
        if (queue_count == 0)
            return -1;
        int id = queue[queue_first];
        queue_first = (queue_first + 1) % IDS;
        queue_count--;
        win[id].used = true;
        return id;
    }

    void give_back(int id) {
        win[id].used = false;
        queue[(queue_first + queue_count) % IDS] = id;
        queue_count++;
    }

    // ---- terminal output ------------------------------------------------
    void go_to(int row, int col) {
        char text[32];
        if (col == COLS - 1) { // column 79 is reached through column 78
            snprintf(text, sizeof text, "<%d,%d><%d,%d>", row, col - 1, row, col);
        } else {
            snprintf(text, sizeof text, "<%d,%d>", row, col);
        }
        sent += text;
    }

    void attribute_switch(int from, int to) {
        if (from == to)
            return;
        bool enter = (to & LINE) && !(from & LINE);
        bool leave = (from & LINE) && !(to & LINE);
        bool low = (from & 15) != (to & 15);
        if (leave)
            sent += GE;
        if (low)
            sent += ATTR_TEXT[to & 15];
        if (enter)
            sent += GS;
    }

    // ---- creating and ending ------------------------------------------
    int create(int parent, int row, int col, int rows, int cols) {
        int id = take_id();
        if (id < 0)
            return -1;
        int p = parent == -1 ? 0 : parent;
        // A window is no parent of itself, though its id is taken by now.
        if (p < 0 || p >= IDS || !win[p].used || p == id) {
            give_back(id);
            return -1;
        }
        MWin &up = win[p];
        if (rows < 0)
            rows = up.rows - row;
        if (cols < 0)
            cols = up.cols - col;
        if (rows < 1 || cols < 1) {
            give_back(id);
            return -1;
        }
        MWin &w = win[id];
        w.hidden = true;
        w.linked = true;
        w.attr = 0;
        w.rows = rows;
        w.cols = cols;
        w.srow = row + up.srow;
        w.scol = col + up.scol;
        w.crow = 0;
        w.ccol = 0;
        w.parent = p;
        w.children.clear();
        w.blank(static_cast<size_t>(rows) * cols);
        up.children.insert(up.children.begin(), id);
        return id;
    }

    int destroy(int id) {
        if (id <= 0)
            return 0;
        MWin *w = find(id);
        if (!w)
            return -1;
        w->hidden = true;
        refresh(id, 0, 0, -1, -1);
        if (w->linked) {
            std::vector<int> &siblings = win[w->parent].children;
            for (size_t i = 0; i < siblings.size(); i++)
                if (siblings[i] == id) {
                    siblings.erase(siblings.begin() + static_cast<long>(i));
                    break;
                }
            w->linked = false;
        }
        std::vector<int> children = w->children;
        for (int child : children)
            if (win[child].used) {
                win[child].parent = -1;
                win[child].linked = false;
                destroy(child);
            }
        w->children.clear();
        give_back(id);
        return 0;
    }

    // ---- drawing --------------------------------------------------------
    static void move(MWin &w, int row, int col) {
        if (row == -1)
            row = w.crow;
        if (col == -1)
            col = w.ccol;
        if (row < 0 || row >= w.rows || col < 0 || col >= w.cols) {
            row = 0;
            col = 0;
        }
        w.crow = row;
        w.ccol = col;
    }

    int clear(int id, int row, int col, int rows, int cols) {
        MWin *w = find(id);
        if (!w)
            return -1;
        if (rows < 0)
            rows = w->rows - row;
        if (cols < 0)
            cols = w->cols - col;
        MCell blank = BLANK;
        if (w == &win[0])
            blank.attr = CHANGED; // the terminal still shows the old cells
        for (int y = row < 0 ? 0 : row; y < row + rows && y < w->rows; y++)
            for (int x = col < 0 ? 0 : col; x < col + cols && x < w->cols; x++)
                w->cells[y * w->cols + x] = blank;
        return 0;
    }

    uint8_t shown_as(uint8_t c) const {
        if (c < 32 || c == 127 || (c >= 128 && c < 160))
            return '?';
        if (c >= 128 && utf8)
            return '?';
        return c;
    }

    int puts(int id, int row, int col, const std::string &text, int attribute) {
        MWin *w = find(id);
        if (!w)
            return -1;
        move(*w, row, col);
        uint8_t a = attribute >= 0 && attribute < 255 ? static_cast<uint8_t>(attribute) : w->attr;
        uint8_t colour = (a & LINE) ? LINE_COLOUR : (a & REV) ? REVERSE_COLOUR : BLANK_COLOUR;
        int written = 0;
        for (char c : text) {
            long n = static_cast<long>(w->crow) * w->cols + w->ccol;
            if (n < 0 || n >= static_cast<long>(w->count))
                break;
            MCell &cell = w->cells[n];
            cell.ch = shown_as(static_cast<uint8_t>(c));
            cell.attr = a;
            cell.colour = colour;
            w->ccol++;
            written++;
        }
        return written;
    }

    int cursor(int id, int row, int col) {
        MWin *w = find(id);
        if (!w)
            return -1;
        if (row >= 0 || col >= 0)
            move(*w, row, col);
        int y = w->srow + w->crow, x = w->scol + w->ccol;
        if (y >= 0 && y < ROWS && x >= 0 && x < COLS)
            go_to(y, x);
        return 0;
    }

    int line_cell(int id, int merge, int row, int col, int mask) {
        MWin *w = find(id);
        if (!w || row < 0 || row >= w->rows || col < 0 || col >= w->cols)
            return -1;
        MCell &cell = w->cells[row * w->cols + col];
        if (merge) {
            if (cell.attr != LINE)
                cell.join = 0;
            cell.join = static_cast<uint8_t>(cell.join | mask);
        } else {
            cell.join = static_cast<uint8_t>(mask);
        }
        cell.attr = LINE;
        if (uint8_t c = join_char(cell.join))
            cell.ch = c;
        return 0;
    }

    int line(int id, int merge, int ends, int row, int col, int length, bool down) {
        MWin *w = find(id);
        if (!w)
            return -1;
        if (length < 0)
            length = down ? w->rows - row : w->cols - col;
        if (length < 1)
            return -1;
        int through = down ? 9 : 6;
        int first = ends ? (down ? 8 : 4) : through;
        int last = ends ? (down ? 1 : 2) : through;
        int dy = down ? 1 : 0, dx = down ? 0 : 1;
        // A one-cell line gets its first and then its last joins.
        line_cell(id, merge, row, col, first);
        for (int i = 1; i <= length - 2; i++)
            line_cell(id, merge, row + i * dy, col + i * dx, through);
        line_cell(id, merge, row + (length - 1) * dy, col + (length - 1) * dx, last);
        return 0;
    }

    int box(int id, int merge, int row, int col, int rows, int cols) {
        MWin *w = find(id);
        if (!w)
            return -1;
        if (rows < 0)
            rows = w->rows - row;
        if (cols < 0)
            cols = w->cols - col;
        if (rows < 2 || cols < 2)
            return -1;
        int bottom = row + rows - 1, right = col + cols - 1;
        line_cell(id, merge, row, col, 12);
        line(id, merge, 0, row, col + 1, cols - 2, false);
        line_cell(id, merge, row, right, 10);
        line(id, merge, 0, row + 1, col, rows - 2, true);
        line(id, merge, 0, row + 1, right, rows - 2, true);
        line_cell(id, merge, bottom, col, 5);
        line(id, merge, 0, bottom, col + 1, cols - 2, false);
        line_cell(id, merge, bottom, right, 3);
        return 0;
    }

    int put_lines(int id, int merge, int row, int col, const std::string &pattern) {
        if (!find(id))
            return -1;
        for (size_t i = 0; i < pattern.size(); i++)
            if (int mask = pattern_joins(pattern[i]))
                line_cell(id, merge, row, col + static_cast<int>(i), mask);
        return static_cast<int>(pattern.size());
    }

    // ---- refresh ----------------------------------------------------------
    // Paints w and its shown descendants over the area, bottom to top: the
    // oldest child first, each child's own children right after it.
    void paint(const MWin &w, const Rect &area) {
        for (size_t i = w.children.size(); i-- > 0;) {
            const MWin &c = win[w.children[i]];
            Rect r;
            if (c.hidden || !meet(area, Rect{c.srow, c.scol, c.rows, c.cols}, &r))
                continue;
            for (int y = r.row; y < r.row + r.rows; y++)
                std::memcpy(&composed[y * COLS + r.col],
                            &c.cells[(y - c.srow) * c.cols + (r.col - c.scol)],
                            sizeof(MCell) * r.cols);
            paint(c, r);
        }
    }

    // The background is blank; then each visible window over it; then every
    // image cell that differs from the result, its mark included, takes the
    // result and the mark.
    void compose(const Rect &area) {
        static MCell blank_row[COLS];
        if (blank_row[0].ch != ' ')
            for (MCell &c : blank_row)
                c = BLANK;
        for (int y = area.row; y < area.row + area.rows; y++)
            std::memcpy(&composed[y * COLS + area.col], blank_row, sizeof(MCell) * area.cols);
        paint(win[0], area);
        MCell *img = image();
        for (int y = area.row; y < area.row + area.rows; y++) {
            MCell *cell = img + y * COLS + area.col;
            const MCell *want = composed + y * COLS + area.col;
            for (int x = 0; x < area.cols; x++)
                if (!same(cell[x], want[x])) {
                    cell[x] = want[x];
                    cell[x].attr |= CHANGED;
                }
        }
    }

    int send(const Rect &area) {
        if (!shown)
            return -1;
        MCell *img = image();
        for (int y = area.row; y < area.row + area.rows; y++) {
            int x = area.col, end = area.col + area.cols;
            while (x < end) {
                if (!(img[y * COLS + x].attr & CHANGED)) {
                    x++;
                    continue;
                }
                int start = x;
                go_to(y, x);
                int current = 0;
                // Writing the last cell would scroll this terminal (aw#1).
                while (x < end && (img[y * COLS + x].attr & CHANGED) &&
                       !(y == ROWS - 1 && x == COLS - 1)) {
                    MCell &cell = img[y * COLS + x];
                    cell.attr &= static_cast<uint8_t>(~CHANGED);
                    int a = cell.attr;
                    attribute_switch(current, a);
                    current = a;
                    if (!(a & LINE)) {
                        sent += static_cast<char>(cell.ch);
                    } else if (const char *piece = piece_text(cell.ch)) {
                        sent += piece;
                    } else {
                        sent += GE;
                        sent += static_cast<char>(cell.ch);
                        sent += GS;
                    }
                    x++;
                }
                attribute_switch(current, 0);
                if (x == start)
                    break;
            }
        }
        return 0;
    }

    int refresh(int id, int row, int col, int rows, int cols) {
        MWin *w = find(id);
        if (!w)
            return -1;
        if (w->hidden) {
            if (w == &win[0])
                return -1;
            return refresh(0, w->srow, w->scol, w->rows, w->cols);
        }
        if (rows < 0)
            rows = w->rows - row;
        if (cols < 0)
            cols = w->cols - col;
        Rect r;
        if (!meet(Rect{row + w->srow, col + w->scol, rows, cols},
                  Rect{w->srow, w->scol, w->rows, w->cols}, &r))
            return -1;
        for (int up = w->parent; up >= 0; up = win[up].parent)
            if (!meet(r, Rect{win[up].srow, win[up].scol, win[up].rows, win[up].cols}, &r))
                return -1;
        if (!meet(r, SCREEN, &r))
            return -1;
        compose(r);
        return send(r);
    }

    int show(int id) {
        MWin *w = find(id);
        if (!w)
            return -1;
        w->hidden = false;
        refresh(id, 0, 0, -1, -1);
        return 0;
    }

    int hide(int id) {
        if (id <= 0)
            return 0;
        MWin *w = find(id);
        if (!w)
            return -1;
        w->hidden = true;
        refresh(id, 0, 0, -1, -1);
        return 0;
    }

    void blank_screen() {
        for (int i = 0; i < ROWS * COLS; i++)
            image()[i] = BLANK;
        sent += "[CL]";
    }

    int screen_state(int mode) {
        if (mode == 0 && shown) {
            shown = 0;
            blank_screen();
        } else if (mode == 1 && !shown) {
            shown = 1;
            refresh(0, 0, 0, -1, -1);
        }
        return shown;
    }

    int repaint() {
        screen_state(0);
        return screen_state(1);
    }
};

} // namespace model

#pragma clang attribute pop
