// Sending the changed cells of the screen image to the terminal, in runs:
// one cursor motion, then the cells with only the attribute and line-drawing
// switches they need.
#include "win/win_internal.h"

#include <cstring>

namespace {

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

// The line-drawing string that draws a line cell's character; -1 for a
// character that names no piece (text written with the line attribute).
// "0" and "." are the pattern aliases of "-" and "|".
int line_string_of(unsigned char c) {
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

// The first changed cell of row from x on, or end: most of a refresh's
// cells have not changed.
int next_changed(const Cell *row, int x, int end) {
    while (x < end && !(row[x].attribute & ATTR_CHANGED))
        x++;
    return x;
}

} // namespace

int win_send(Window *screen, const WinRect &area) {
    if (term_screen_state(-1) == 0)
        return -1;
    WinRect r;
    if (win_clip(area, WIN_SCREEN_RECT, &r) < 0)
        return 0;
    int guard = term_auto_margin() == 1;
    SendStrings t;
    load_send_strings(t);
    RunBuffer b;
    for (int y = r.row; y < r.row + r.rows; y++) {
        Cell *row = screen->cells + y * WIN_SCREEN_COLUMNS;
        int x = r.column;
        int end = r.column + r.columns;
        while ((x = next_changed(row, x, end)) < end) {
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
                int ls = line_string_of(cell.character);
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
