// Terminal output: cursor addressing from the "cm" template, cursor
// visibility, line drawing, clear, beep. Fixed buffers; one write per text.
#include "term/term.h"
#include "term/term_internal.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

// What a terminal with "Ab" takes to show its cursor, and so also the very
// last thing the program sends it.
constexpr char AB_TAIL[] = "\033[=1;14C";

constexpr int PIECES_MAX = 10;
constexpr int LITERAL_STORE = 64;
constexpr int RESULT_MAX = 128;
const char CM_ERROR[] = "('cm' error)";
// No real terminal has more lines; a hostile "li" is cut to this.
constexpr int TERM_CLEAR_LINES_MAX = 100;

enum PieceKind { P_FREE, P_LITERAL, P_DEC, P_DEC2, P_DEC3, P_CHAR, P_OFFSET };

struct Piece {
    PieceKind kind;
    int column;     // 0 takes the row, 1 the column
    int offset;     // offset byte of P_OFFSET
    int text_start; // P_LITERAL: position in the literal store
    // Applied to the value before it is sent: add above_add when it is
    // above above_limit (%>), then binary-coded decimal (%B).
    int above_limit;
    int above_add;
    int bcd;
};

struct CursorTemplate {
    int usable;
    int origin;
    int xor_mask; // %n: both values exclusive-or 96
    Piece pieces[PIECES_MAX];
    char literals[LITERAL_STORE];
};

CursorTemplate tmpl;
char result[RESULT_MAX] = "('cm' error)";
const char *bc_settled = "(BC)";
const char *up_settled = "(UP)";

const char *cursor_on_text = "";
int cursor_on_len;
const char *cursor_off_text = "";
int cursor_off_len;
int cursor_state = -1; // last set: 1 on, 0 off, -1 never
bool ab_tail;          // the description asks for the tail on the way out

const char *keypad_on_text = "";
int keypad_on_len;
const char *keypad_off_text = "";
int keypad_off_len;

const char *line_strings[LS_COUNT];
// The VT100 letter of each piece, as the standard "ac" pairs name them.
const char ACS_LETTERS[LS_COUNT + 1] = "  qxnuwtvklmj";
char acs_pieces[LS_COUNT][2];
char acs_enter[64];
// Attribute combinations built from the standard strings.
char attribute_texts[16][64];
const char *const LINE_FALLBACK[LS_COUNT] = {"",  "",  "-", "|", "+", "+", "+",
                                             "+", "+", "+", "+", "+", "+"};

// The line pieces in LineString order after GS and GE: the VT100 alternate
// set's letters, the UTF-8 box characters, and the VT100 switch itself.
const char *const VT100_PIECES[LS_COUNT] = {"\033(0", "\033(B", "q", "x", "n", "u", "w",
                                            "t",      "v",      "k", "l", "m", "j"};
const char *const UTF8_PIECES[LS_COUNT] = {"",
                                           "",
                                           "\342\224\200",
                                           "\342\224\202",
                                           "\342\224\274",
                                           "\342\224\244",
                                           "\342\224\254",
                                           "\342\224\234",
                                           "\342\224\264",
                                           "\342\224\220",
                                           "\342\224\214",
                                           "\342\224\224",
                                           "\342\224\230"};

// Whether the line strings are the VT100 switch (ESC ( 0, or SO after
// ESC ) 0) and its letters.
bool vt100_switch() {
    const char *on = line_strings[LS_GS];
    if (!strstr(on, "\033(0") && !strchr(on, '\016'))
        return false;
    for (int i = LS_GH; i < LS_COUNT; ++i)
        if (strcmp(line_strings[i], VT100_PIECES[i]) != 0)
            return false;
    return true;
}

// PuTTY and the Linux console ignore the VT100 switch in UTF-8 mode and show
// its letters, "lqqk": in a UTF-8 locale such a description draws with the
// UTF-8 box characters. AVLINES overrides what no rule can see: "utf8",
// "vt100" (the switch, whatever the description says) or "ascii".
void settle_line_style() {
    const char *const *pieces = nullptr;
    const char *style = getenv("AVLINES");
    if (style && strcmp(style, "utf8") == 0)
        pieces = UTF8_PIECES;
    else if (style && strcmp(style, "vt100") == 0)
        pieces = VT100_PIECES;
    else if (style && strcmp(style, "ascii") == 0)
        pieces = LINE_FALLBACK;
    else if (term_utf8_locale() && vt100_switch())
        pieces = UTF8_PIECES;
    if (pieces)
        for (int i = 0; i < LS_COUNT; ++i)
            line_strings[i] = pieces[i];
}

const char *clear_text;
int clear_len = -1; // -1: not looked up yet
int lines_value;
bool lines_known;
int auto_margin_value = -1;

// Appends to the result, cutting (never overflowing) an over-long motion:
// a terminal whose template expands past 127 bytes cannot be driven anyway,
// and a cut text is safer than writing beyond the buffer.
struct Out {
    int len;
    void put(char c) {
        if (len < RESULT_MAX - 1)
            result[len++] = c;
    }
    void puts(const char *s) {
        while (*s)
            put(*s++);
    }
    void decimal(int value, int min_digits) {
        char digits[16];
        int n = 0;
        unsigned v = value < 0 ? 0u - static_cast<unsigned>(value) : static_cast<unsigned>(value);
        do {
            digits[n++] = static_cast<char>('0' + v % 10);
            v /= 10;
        } while (v);
        while (n < min_digits)
            digits[n++] = '0';
        if (value < 0)
            put('-');
        while (n > 0)
            put(digits[--n]);
    }
};

void expand(Out &out, int row, int column) {
    int values[2] = {(row + tmpl.origin) ^ tmpl.xor_mask, (column + tmpl.origin) ^ tmpl.xor_mask};
    int compensation[2] = {0, 0};
    for (const Piece &piece : tmpl.pieces) {
        int value = values[piece.column];
        if (piece.above_add != 0 && value > piece.above_limit)
            value += piece.above_add;
        if (piece.bcd)
            value = value / 10 * 16 + value % 10;
        switch (piece.kind) {
        case P_FREE:
            break;
        case P_LITERAL:
            out.puts(tmpl.literals + piece.text_start);
            break;
        case P_DEC:
            out.decimal(value, 1);
            break;
        case P_DEC2:
            out.decimal(value, 2);
            break;
        case P_DEC3:
            out.decimal(value, 3);
            break;
        case P_OFFSET:
            out.put(static_cast<char>((value + piece.offset) & 0xff));
            break;
        case P_CHAR:
            // NUL would end the text, and 8, 9, 10 are moved by tty output
            // processing; send 1 or 11 and step back with up/bc afterwards.
            if (value == 0) {
                out.put(1);
                compensation[piece.column] += 1;
            } else if (value >= 8 && value <= 10) {
                out.put(11);
                compensation[piece.column] += 11 - value;
            } else {
                out.put(static_cast<char>(value & 0xff));
            }
            break;
        }
    }
    for (int i = 0; i < compensation[0]; ++i)
        out.puts(up_settled);
    for (int i = 0; i < compensation[1]; ++i)
        out.puts(bc_settled);
}

// Resolves the clear string and, without one, the line count of the
// newline fallback.
void settle_clear() {
    if (clear_len < 0) {
        clear_text = tc_cap_str(CAP_CL);
        clear_len = clear_text ? static_cast<int>(strlen(clear_text)) : 0;
        if (clear_len == 0)
            term_lines();
    }
}
// The line-drawing set: this program's thirteen strings, else the standard
// as, ae and ac (each piece the byte that ac pairs with its VT100 letter),
// else the ASCII fallbacks. The set is never mixed.
void load_line_strings() {
    bool all = true;
    for (int i = 0; i < LS_COUNT; ++i) {
        line_strings[i] = tc_cap_str(static_cast<TermCap>(CAP_GS + i));
        if (!line_strings[i])
            all = false;
    }
    if (all)
        return;
    const char *enter = tc_cap_str(CAP_STD_AS);
    const char *leave = tc_cap_str(CAP_STD_AE);
    const char *pairs = tc_cap_str(CAP_STD_AC);
    const char *enable = tc_cap_str(CAP_STD_EA);
    all = enter && leave && pairs;
    for (int i = LS_GH; all && i < LS_COUNT; ++i) {
        const char *p = pairs;
        while (p[0] && p[1] && p[0] != ACS_LETTERS[i])
            p += 2;
        acs_pieces[i][0] = p[0] && p[1] ? p[1] : '\0';
        acs_pieces[i][1] = '\0';
        line_strings[i] = acs_pieces[i];
        all = acs_pieces[i][0] != '\0';
    }
    // The set may have to be enabled first (eA), and a program run before
    // may have undone that: send it with every switch into line drawing.
    if (all && enable && strlen(enable) + strlen(enter) < sizeof acs_enter) {
        strcpy(acs_enter, enable);
        strcat(acs_enter, enter);
        enter = acs_enter;
    }
    line_strings[LS_GS] = enter;
    line_strings[LS_GE] = leave;
    if (!all) {
        for (int i = 0; i < LS_COUNT; ++i)
            line_strings[i] = LINE_FALLBACK[i];
    }
}

TermWriteFn writer;

void write_all(const char *text, size_t len) {
    term_write(1, text, len);
}

} // namespace

int term_parse_cursor(const char *cm) {
    memset(&tmpl, 0, sizeof tmpl);
    snprintf(result, sizeof result, "%s", CM_ERROR);
    if (!cm)
        return -1;
    tmpl.usable = 1;
    int selector = 0;
    int npieces = 0;
    int store_used = 0;
    int open_literal = -1;
    auto new_piece = [&](PieceKind kind) -> Piece * {
        if (npieces >= PIECES_MAX) {
            tmpl.usable = 0;
            return nullptr;
        }
        Piece *p = &tmpl.pieces[npieces++];
        p->kind = kind;
        return p;
    };
    auto add_literal = [&](char c) {
        if (open_literal < 0) {
            Piece *p = new_piece(P_LITERAL);
            if (!p)
                return;
            open_literal = static_cast<int>(p - tmpl.pieces);
            p->text_start = store_used;
            ++store_used; // the literal's terminator
        }
        if (store_used + 1 > LITERAL_STORE - 1) {
            tmpl.usable = 0;
            return;
        }
        // Insert before the reserved terminator.
        tmpl.literals[store_used - 1] = c;
        tmpl.literals[store_used] = '\0';
        ++store_used;
    };
    // %> and %B change the value of the conversion that follows them.
    int above_limit = 0, above_add = 0, bcd = 0;
    auto add_conversion = [&](PieceKind kind, int offset) {
        open_literal = -1;
        Piece *p = new_piece(kind);
        if (!p)
            return;
        p->column = selector;
        p->offset = offset;
        p->above_limit = above_limit;
        p->above_add = above_add;
        p->bcd = bcd;
        above_limit = above_add = bcd = 0;
        selector ^= 1;
    };
    const char *s = cm;
    while (tmpl.usable && *s) {
        if (s[0] != '%' || s[1] == '\0') {
            add_literal(*s++);
            continue;
        }
        switch (s[1]) {
        case 'r':
            selector ^= 1;
            break;
        case 'i':
            tmpl.origin = 1;
            break;
        case 'd':
            add_conversion(P_DEC, 0);
            break;
        case '2':
            add_conversion(P_DEC2, 0);
            break;
        case '3':
            add_conversion(P_DEC3, 0);
            break;
        case '.':
            add_conversion(P_CHAR, 0);
            break;
        case '%':
            add_literal('%');
            break;
        case 'n':
            tmpl.xor_mask = 96;
            break;
        case 'B':
            bcd = 1;
            break;
        case '>':
            if (s[2] == '\0' || s[3] == '\0') {
                tmpl.usable = 0;
                break;
            }
            above_limit = static_cast<unsigned char>(s[2]);
            above_add = static_cast<unsigned char>(s[3]);
            s += 2;
            break;
        case '+':
            if (s[2] == '\0') {
                tmpl.usable = 0;
                break;
            }
            add_conversion(P_OFFSET, static_cast<unsigned char>(s[2]));
            ++s;
            break;
        default:
            // Not a code: the "%" is text, the next character is read anew.
            add_literal('%');
            ++s;
            continue;
        }
        s += 2;
    }
    if (!tmpl.usable) {
        memset(&tmpl, 0, sizeof tmpl);
        return -1;
    }
    return 0;
}

const char *term_bc_string() {
    if (const char *s = tc_cap_str(CAP_BC))
        return s;
    if (tc_cap_flag(CAP_BS))
        return "\b";
    if (const char *s = tc_cap_str(CAP_KL))
        return s;
    return "(BC)";
}

const char *term_up_string() {
    if (const char *s = tc_cap_str(CAP_UP))
        return s;
    if (const char *s = tc_cap_str(CAP_KU))
        return s;
    return "(UP)";
}

void term_settle_motion() {
    bc_settled = term_bc_string();
    up_settled = term_up_string();
    term_parse_cursor(tc_cap_str(CAP_CM));
}

const char *term_goto(int row, int column) {
    if (!tmpl.usable)
        return result;
    Out out{0};
    if (column == 79)
        expand(out, row, 78);
    expand(out, row, column);
    result[out.len] = '\0';
    return result;
}

void term_screen_strings() {
    // Settled now, so that term_leave can run in a signal handler.
    settle_clear();
    ab_tail = tc_cap_flag(CAP_AB) == 1;
    const char *on = tc_cap_str(CAP_CN);
    if (!on)
        on = tc_cap_str(CAP_CO);
    if (!on)
        on = tc_cap_str(CAP_STD_VE);
    if (ab_tail)
        on = AB_TAIL;
    const char *off = tc_cap_str(CAP_CF);
    if (!off)
        off = tc_cap_str(CAP_STD_VI);
    if (!on || !off) {
        cursor_on_text = cursor_off_text = "";
        cursor_on_len = cursor_off_len = 0;
    } else {
        cursor_on_text = on;
        cursor_on_len = static_cast<int>(strlen(on));
        cursor_off_text = off;
        cursor_off_len = static_cast<int>(strlen(off));
    }
    // Sending one without the other would leave the keypad in a mode the
    // shell does not expect.
    keypad_on_text = tc_cap_str(CAP_STD_KS);
    keypad_off_text = tc_cap_str(CAP_STD_KE);
    if (!keypad_on_text || !keypad_off_text)
        keypad_on_text = keypad_off_text = "";
    keypad_on_len = static_cast<int>(strlen(keypad_on_text));
    keypad_off_len = static_cast<int>(strlen(keypad_off_text));
    load_line_strings();
    settle_line_style();
}

const char *term_line_string(int which) {
    if (which < 0 || which >= LS_COUNT || !line_strings[which])
        return "";
    return line_strings[which];
}

void term_cursor_on() {
    cursor_state = 1;
    write_all(cursor_on_text, static_cast<size_t>(cursor_on_len));
}

void term_cursor_off() {
    cursor_state = 0;
    write_all(cursor_off_text, static_cast<size_t>(cursor_off_len));
}

void term_cursor_again() {
    if (cursor_state == 1)
        term_cursor_on();
    else if (cursor_state == 0)
        term_cursor_off();
}

int term_lines() {
    if (!lines_known) {
        lines_value = tc_cap_num(CAP_LI);
        lines_known = true;
    }
    return lines_value;
}

void term_clear() {
    settle_clear();
    if (clear_len > 0) {
        write_all(clear_text, static_cast<size_t>(clear_len));
        return;
    }
    // Twice "li" newlines scroll everything off; the bound keeps a
    // description with an absurd "li" from costing minutes per clear.
    int lines = term_lines() > TERM_CLEAR_LINES_MAX ? TERM_CLEAR_LINES_MAX : term_lines();
    int count = 2 * lines;
    for (int i = 0; i < count; ++i)
        write_all("\n", 1);
}

int term_auto_margin() {
    if (auto_margin_value < 0) {
        int aw = tc_cap_num(CAP_AW);
        if (aw >= 0)
            auto_margin_value = aw != 0 ? 1 : 0;
        else
            auto_margin_value = term_lines() <= 24 ? 1 : 0;
    }
    return auto_margin_value;
}

void term_keypad_on() {
    write_all(keypad_on_text, static_cast<size_t>(keypad_on_len));
}

void term_keypad_off() {
    write_all(keypad_off_text, static_cast<size_t>(keypad_off_len));
}

const char *term_attribute_string(int bits) {
    bits &= 15;
    if (const char *own = tc_cap_str(static_cast<TermCap>(CAP_NORM + bits)))
        return own;
    const TermCap second[2] = {CAP_SE, CAP_SO};
    const TermCap third[2] = {CAP_STD_ME, CAP_STD_MR};
    if (bits < 2) {
        if (const char *s = tc_cap_str(second[bits]))
            return s;
        if (const char *s = tc_cap_str(third[bits]))
            return s;
        return "";
    }
    // A combination starts with "me", which resets everything, so that it
    // sets exactly its attributes from any other. Only where "me" is also the
    // normal string: leaving a combination through "se" would keep the rest.
    const char *reset = tc_cap_str(CAP_STD_ME);
    if (!reset || tc_cap_str(CAP_NORM) || tc_cap_str(CAP_SE))
        return "";
    char *out = attribute_texts[bits];
    size_t used = 0;
    const TermCap pieces[4] = {CAP_STD_US, CAP_STD_MD, CAP_STD_MB, CAP_STD_MR};
    const int bit_of[4] = {8, 4, 2, 1};
    const char *parts[5] = {reset, nullptr, nullptr, nullptr, nullptr};
    int n = 1;
    for (int i = 0; i < 4; ++i) {
        if (!(bits & bit_of[i]))
            continue;
        parts[n] = tc_cap_str(pieces[i]);
        if (!parts[n])
            return "";
        ++n;
    }
    for (int i = 0; i < n; ++i) {
        size_t len = strlen(parts[i]);
        if (used + len >= sizeof attribute_texts[bits])
            return "";
        memcpy(out + used, parts[i], len);
        used += len;
    }
    out[used] = '\0';
    return out;
}

void term_leave(const TermState *state) {
    term_clear();
    write_all(cursor_on_text, static_cast<size_t>(cursor_on_len));
    term_keypad_off();
    ioctl(0, TCSETA, &state->saved_mode);
    if (ab_tail)
        write_all(AB_TAIL, sizeof AB_TAIL - 1);
}

void term_write(int fd, const char *bytes, size_t length) {
    if (length == 0)
        return;
    if (writer) {
        writer(fd, bytes, length);
        return;
    }
    // The results are not checked: there is nowhere to report them.
    ssize_t ignored = write(fd, bytes, length);
    (void)ignored;
}

void term_set_writer(TermWriteFn fn) {
    writer = fn;
}

void term_beep() {
    fputc(7, stdout);
    fflush(stdout);
}

void output_reset() {
    memset(&tmpl, 0, sizeof tmpl);
    snprintf(result, sizeof result, "%s", CM_ERROR);
    bc_settled = "(BC)";
    up_settled = "(UP)";
    cursor_on_text = cursor_off_text = "";
    cursor_on_len = cursor_off_len = 0;
    keypad_on_text = keypad_off_text = "";
    keypad_on_len = keypad_off_len = 0;
    for (auto &s : line_strings)
        s = nullptr;
    clear_text = nullptr;
    clear_len = -1;
    cursor_state = -1;
    ab_tail = false;
    lines_known = false;
    auto_margin_value = -1;
}
