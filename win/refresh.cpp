// Composing the visible windows into the screen image and sending the
// changed cells in runs; showing, hiding and destroying windows.
#include "win/win_internal.h"

#include <cstdint>
#include <cstring>
#include <unistd.h>

#include "term/term.h"

namespace {

struct Rect {
    int row;
    int column;
    int rows;
    int columns;
};

int shown = 1;

Rect window_rect(const Window *w) {
    return Rect{w->screen_row, w->screen_column, w->rows, w->columns};
}

// Intersection of a and b into *out; -1 when they do not meet.
int clip(const Rect &a, const Rect &b, Rect *out) {
    if (a.rows < 1 || a.columns < 1 || b.rows < 1 || b.columns < 1)
        return -1;
    int top = a.row > b.row ? a.row : b.row;
    int left = a.column > b.column ? a.column : b.column;
    int bottom = a.row + a.rows < b.row + b.rows ? a.row + a.rows : b.row + b.rows;
    int right =
        a.column + a.columns < b.column + b.columns ? a.column + a.columns : b.column + b.columns;
    if (bottom <= top || right <= left)
        return -1;
    *out = Rect{top, left, bottom - top, right - left};
    return 0;
}

const Rect screen_rect{0, 0, WIN_SCREEN_ROWS, WIN_SCREEN_COLUMNS};

void copy_cells(Window *screen, Window *w, const Rect &area) {
    Rect r;
    if (clip(area, window_rect(w), &r) < 0 || clip(r, screen_rect, &r) < 0)
        return;
    const Cell blank{' ', 0, WIN_BLANK_COLOUR, 0};
    for (int y = r.row; y < r.row + r.rows; y++) {
        Cell *image = screen->cells + y * WIN_SCREEN_COLUMNS;
        const Cell *source =
            w == screen ? nullptr : w->cells + (y - w->screen_row) * w->columns - w->screen_column;
        for (int x = r.column; x < r.column + r.columns; x++) {
            const Cell &from = source ? source[x] : blank;
            Cell &to = image[x];
            // The mark takes part in the comparison: a cell still waiting to be
            // sent is rewritten and stays marked; an equal sent cell costs nothing.
            if (to.character != from.character || to.attribute != from.attribute ||
                to.colour != from.colour || to.join != from.join) {
                to = from;
                to.attribute |= ATTR_CHANGED;
            }
        }
    }
}

int compose(Window *screen, Window *w, const Rect &area) {
    Rect r;
    if (clip(area, window_rect(w), &r) < 0)
        return -1;
    for (ChainNode *node = w->children ? w->children->first : nullptr; node; node = node->next) {
        Window *child = win_lookup(static_cast<int>(reinterpret_cast<intptr_t>(node->value)));
        if (!child || (child->flags & WIN_HIDDEN))
            continue;
        Rect o;
        if (clip(window_rect(child), r, &o) < 0)
            continue;
        int ok = -1;
        int r_bottom = r.row + r.rows;
        int r_right = r.column + r.columns;
        int o_bottom = o.row + o.rows;
        int o_right = o.column + o.columns;
        if (compose(screen, w, Rect{r.row, r.column, o.row - r.row, r.columns}) == 0)
            ok = 0;
        if (compose(screen, w, Rect{o.row, r.column, o.rows, o.column - r.column}) == 0)
            ok = 0;
        if (compose(screen, child, o) == 0)
            ok = 0;
        if (compose(screen, w, Rect{o.row, o_right, o.rows, r_right - o_right}) == 0)
            ok = 0;
        if (compose(screen, w, Rect{o_bottom, r.column, r_bottom - o_bottom, r.columns}) == 0)
            ok = 0;
        return ok;
    }
    copy_cells(screen, w, r);
    return 0;
}

// One run's bytes. Attribute and cursor strings come from the terminal
// description unchecked, so a run can outgrow the buffer: it is then written
// out early and refilled, which keeps the bytes in order at the cost of an
// extra write only in that rare case.
struct RunBuffer {
    char bytes[4096];
    size_t length;
};

void flush(RunBuffer &b) {
    term_write(1, b.bytes, b.length);
    b.length = 0;
}

void append(RunBuffer &b, const char *text, size_t length) {
    while (length > 0) {
        if (b.length == sizeof b.bytes)
            flush(b);
        size_t room = sizeof b.bytes - b.length;
        size_t n = length < room ? length : room;
        std::memcpy(b.bytes + b.length, text, n);
        b.length += n;
        text += n;
        length -= n;
    }
}

struct Text {
    const char *bytes;
    size_t length;
};

Text text_of(const char *s) {
    return Text{s, std::strlen(s)};
}

void append(RunBuffer &b, const Text &t) {
    append(b, t.bytes, t.length);
}

void append_byte(RunBuffer &b, char c) {
    if (b.length == sizeof b.bytes)
        flush(b);
    b.bytes[b.length++] = c;
}

// The strings a send needs, measured once per send rather than per cell.
struct SendStrings {
    Text line[LS_COUNT];
    Text attribute[16];
};

void load_send_strings(SendStrings &t) {
    for (int i = 0; i < LS_COUNT; i++)
        t.line[i] = text_of(term_line_string(i));
    for (int i = 0; i < 16; i++)
        t.attribute[i] = text_of(win_attribute_table[i]);
}

void append_switch(RunBuffer &b, const SendStrings &t, int from, int to) {
    if (from == to)
        return;
    int entering = (to & ATTR_LINE) && !(from & ATTR_LINE);
    int leaving = (from & ATTR_LINE) && !(to & ATTR_LINE);
    // Attribute strings are never sent inside line-drawing mode.
    if (leaving)
        append(b, t.line[LS_GE]);
    if ((from & 15) != (to & 15))
        append(b, t.attribute[to & 15]);
    if (entering)
        append(b, t.line[LS_GS]);
}

int line_string_for(unsigned char c) {
    switch (c) {
    case '-':
    case '0':
        return LS_GH;
    case '|':
    case '.':
        return LS_GV;
    case '7':
        return LS_G2;
    case '8':
        return LS_GD;
    case '9':
        return LS_G1;
    case '4':
        return LS_GR;
    case '5':
        return LS_GC;
    case '6':
        return LS_GL;
    case '1':
        return LS_G3;
    case '2':
        return LS_GU;
    case '3':
        return LS_G4;
    default:
        return -1;
    }
}

int send(Window *screen, const Rect &area) {
    if (term_screen_state(-1) == 0)
        return -1;
    Rect r;
    if (clip(area, screen_rect, &r) < 0)
        return 0;
    int guard = term_auto_margin() == 1;
    SendStrings t;
    load_send_strings(t);
    RunBuffer b;
    for (int y = r.row; y < r.row + r.rows; y++) {
        Cell *row = screen->cells + y * WIN_SCREEN_COLUMNS;
        int x = r.column;
        int end = r.column + r.columns;
        while (x < end) {
            if (!(row[x].attribute & ATTR_CHANGED)) {
                x++;
                continue;
            }
            b.length = 0;
            int start = x;
            append(b, text_of(term_goto(y, x)));
            int current = 0;
            for (; x < end && (row[x].attribute & ATTR_CHANGED); x++) {
                // Writing the last cell would scroll such a terminal: it is
                // never written and keeps its mark.
                if (guard && y == WIN_SCREEN_ROWS - 1 && x == WIN_SCREEN_COLUMNS - 1)
                    break;
                Cell &cell = row[x];
                cell.attribute &= static_cast<unsigned char>(~ATTR_CHANGED);
                int a = cell.attribute;
                append_switch(b, t, current, a);
                current = a;
                char c = static_cast<char>(cell.character);
                if (!(a & ATTR_LINE)) {
                    append_byte(b, c);
                    continue;
                }
                int ls = line_string_for(cell.character);
                if (ls >= 0) {
                    append(b, t.line[ls]);
                } else {
                    // Not a piece: print it outside line-drawing mode.
                    append(b, t.line[LS_GE]);
                    append_byte(b, c);
                    append(b, t.line[LS_GS]);
                }
            }
            append_switch(b, t, current, 0);
            flush(b);
            // A run that stopped at the guarded cell before taking any cell
            // still sent its motion; the rest of the row is not scanned.
            if (x == start)
                break;
        }
    }
    return 0;
}

} // namespace

int win_refresh(int id, int row, int column, int rows, int columns) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    Window *screen = win_lookup(0);
    if (w->flags & WIN_HIDDEN) {
        if (w == screen)
            return -1;
        // Whatever was asked, show what lies under the whole hidden window.
        return win_refresh(0, w->screen_row, w->screen_column, w->rows, w->columns);
    }
    if (rows < 0)
        rows = w->rows - row;
    if (columns < 0)
        columns = w->columns - column;
    Rect r;
    if (clip(Rect{row + w->screen_row, column + w->screen_column, rows, columns}, window_rect(w),
             &r) < 0)
        return -1;
    // A sound tree is at most WIN_MAX_IDS deep; the bound keeps a damaged
    // table from looping for ever.
    int steps = 0;
    for (Window *up = w; up && steps < WIN_MAX_IDS;
         up = up->parent >= 0 ? win_lookup(up->parent) : nullptr, steps++)
        if (clip(r, window_rect(up), &r) < 0)
            return -1;
    if (clip(r, screen_rect, &r) < 0)
        return -1;
    compose(screen, screen, r);
    return send(screen, r);
}

// Sets or clears the hidden flag and brings the screen up to date.
static Window *set_hidden(int id, bool hidden) {
    Window *w = win_lookup(id);
    if (!w)
        return nullptr;
    if (hidden)
        w->flags |= WIN_HIDDEN;
    else
        w->flags &= static_cast<unsigned char>(~WIN_HIDDEN);
    win_refresh(id, 0, 0, -1, -1);
    return w;
}

int win_show(int id) {
    return set_hidden(id, false) ? 0 : -1;
}

int win_hide(int id) {
    if (id <= 0)
        return 0;
    return set_hidden(id, true) ? 0 : -1;
}

// Ends a window and, below it, at most `depth` generations of descendants.
static int destroy_tree(int id, int depth) {
    if (id <= 0)
        return 0;
    Window *w = set_hidden(id, true);
    if (!w)
        return -1;
    if (w->parent_node) {
        Window *up = win_lookup(w->parent);
        if (up && up->children)
            chain_unlink(up->children, w->parent_node);
        mem_free(w->parent_node);
        w->parent_node = nullptr;
    }
    if (w->children) {
        for (ChainNode *node = w->children->first; node; node = node->next) {
            int child_id = static_cast<int>(reinterpret_cast<intptr_t>(node->value));
            Window *child = win_lookup(child_id);
            if (!child)
                continue;
            child->parent = -1;
            child->parent_node = nullptr;
            if (depth > 0)
                destroy_tree(child_id, depth - 1);
        }
        chain_destroy(w->children);
        w->children = nullptr;
    }
    mem_free(w->cells);
    w->tag = 0;
    mem_free(w);
    win_give_back_id(id);
    return 0;
}

int win_destroy(int id) {
    return destroy_tree(id, WIN_MAX_IDS);
}

void term_blank_screen() {
    clear_marks_changed = 0;
    win_clear(0, 0, 0, -1, -1);
    term_clear();
    clear_marks_changed = 1;
}

int term_screen_state(int mode) {
    if (mode == 0 && shown) {
        shown = 0;
        term_blank_screen();
    } else if (mode == 1 && !shown) {
        shown = 1;
        win_refresh(0, 0, 0, -1, -1);
    }
    return shown;
}

int term_repaint() {
    term_screen_state(0);
    return term_screen_state(1);
}
