// The compiled terminfo database as a last resort: finds a type's compiled
// entry and writes what this program reads from it as description text
// under the program's own capability names, so that the one description
// reader and its lookups serve it like any other.
#include "term/term.h"
#include "term/term_internal.h"
#include "support/support.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

// ncurses never writes a larger compiled entry; anything bigger is not one.
constexpr size_t FILE_MAX = 32768;
constexpr int MAGIC_LEGACY = 0432;
constexpr int MAGIC_NUM32 = 01036;
// A type name is one path component; longer ones name nothing in a database.
constexpr size_t NAME_MAX_LEN = 255;

// Indexes in the compiled entry's boolean, number and string arrays.
constexpr int B_AM = 1;
constexpr int N_LINES = 2;
enum StringIndex {
    S_CLEAR = 5,
    S_CUP = 10,
    S_CIVIS = 13,
    S_CUB1 = 14,
    S_CNORM = 16,
    S_CUU1 = 19,
    S_SMACS = 25,
    S_BLINK = 26,
    S_BOLD = 27,
    S_REV = 34,
    S_SMSO = 35,
    S_SMUL = 36,
    S_RMACS = 38,
    S_SGR0 = 39,
    S_RMSO = 43,
    S_KBS = 55,
    S_KDCH1 = 59,
    S_KCUD1 = 61,
    S_KF1 = 66,
    S_KF10 = 67,
    S_KF2 = 68, // kf2 to kf9 follow in order
    S_KHOME = 76,
    S_KICH1 = 77,
    S_KCUB1 = 79,
    S_KNP = 81,
    S_KPP = 82,
    S_KCUF1 = 83,
    S_KCUU1 = 87,
    S_RMKX = 88,
    S_SMKX = 89,
    S_ACSC = 146,
    S_KCBT = 148,
    S_ENACS = 155,
    S_KEND = 164,
};

struct Compiled {
    const unsigned char *names;
    size_t names_len;
    const unsigned char *bools;
    int bool_count;
    const unsigned char *numbers;
    int number_count;
    int number_width; // 2 legacy, 4 extended
    const unsigned char *offsets;
    int string_count;
    const unsigned char *table;
    size_t table_size;
};

int read_short(const unsigned char *p) {
    return static_cast<short>(static_cast<unsigned short>(p[0] | p[1] << 8));
}

int parse_compiled(const unsigned char *data, size_t length, Compiled *c) {
    if (length < 12)
        return -1;
    int magic = read_short(data);
    if (magic != MAGIC_LEGACY && magic != MAGIC_NUM32)
        return -1;
    int names_size = read_short(data + 2);
    int bools = read_short(data + 4);
    int numbers = read_short(data + 6);
    int strings = read_short(data + 8);
    int table = read_short(data + 10);
    if (names_size <= 0 || bools < 0 || numbers < 0 || strings < 0 || table < 0)
        return -1;
    c->number_width = magic == MAGIC_NUM32 ? 4 : 2;
    size_t pos = 12;
    c->names = data + pos;
    pos += static_cast<size_t>(names_size);
    c->bools = data + pos;
    pos += static_cast<size_t>(bools);
    pos += pos % 2; // numbers start on an even byte
    c->numbers = data + pos;
    pos += static_cast<size_t>(numbers) * static_cast<size_t>(c->number_width);
    c->offsets = data + pos;
    pos += static_cast<size_t>(strings) * 2;
    c->table = data + pos;
    pos += static_cast<size_t>(table);
    if (pos > length)
        return -1;
    // What follows (the extended names section) adds nothing this program reads.
    const void *nul = memchr(c->names, 0, static_cast<size_t>(names_size));
    c->names_len =
        nul ? static_cast<size_t>(static_cast<const unsigned char *>(nul) - c->names) : 0;
    c->bool_count = bools;
    c->number_count = numbers;
    c->string_count = strings;
    c->table_size = static_cast<size_t>(table);
    return 0;
}

int flag_of(const Compiled &c, int index) {
    return index < c.bool_count && c.bools[index] == 1;
}

int number_of(const Compiled &c, int index) {
    if (index >= c.number_count)
        return -1;
    const unsigned char *p = c.numbers + static_cast<size_t>(index) * c.number_width;
    int value = c.number_width == 2 ? read_short(p)
                                    : static_cast<int>(static_cast<unsigned>(p[0]) |
                                                       static_cast<unsigned>(p[1]) << 8 |
                                                       static_cast<unsigned>(p[2]) << 16 |
                                                       static_cast<unsigned>(p[3]) << 24);
    return value < 0 ? -1 : value;
}

// The string, or nullptr when absent, cancelled or not ended inside the table.
const char *string_of(const Compiled &c, int index) {
    if (index >= c.string_count)
        return nullptr;
    int offset = read_short(c.offsets + 2 * index);
    if (offset < 0 || static_cast<size_t>(offset) >= c.table_size)
        return nullptr;
    const unsigned char *s = c.table + offset;
    if (!memchr(s, 0, c.table_size - static_cast<size_t>(offset)))
        return nullptr;
    return reinterpret_cast<const char *>(s);
}

// A bounded text being written; a write past the end marks it failed.
// A bounded text being written (or, without a buffer, only measured); a
// write past the end marks it failed. Kept NUL-terminated.
struct Text {
    char *buffer;
    size_t size;
    size_t len;
    bool failed;
    void put(char ch) {
        if (!buffer) {
            ++len;
            return;
        }
        if (len + 1 >= size) {
            failed = true;
            return;
        }
        buffer[len] = ch;
        ++len;
        buffer[len] = '\0';
    }
    void puts(const char *s) {
        while (*s)
            put(*s++);
    }
};

// The termcap form of a string value that the description reader decodes
// back to exactly these bytes: no byte reaches the entry raw unless it
// stands for itself there.
void put_escaped(Text &out, const char *value, size_t n) {
    static const char octal[] = "01234567";
    for (size_t i = 0; i < n; ++i) {
        unsigned char b = static_cast<unsigned char>(value[i]);
        // A leading digit would be read as a delay; ':' ends the field.
        bool as_octal = b >= 127 || b == ':' || (i == 0 && b >= '0' && b <= '9');
        if (as_octal) {
            out.put('\\');
            out.put(octal[b >> 6]);
            out.put(octal[(b >> 3) & 7]);
            out.put(octal[b & 7]);
        } else if (b == 27) {
            out.puts("\\E");
        } else if (b < 32) {
            out.put('^');
            out.put(static_cast<char>(b + 64));
        } else if (b == '\\' || b == '^') {
            out.put('\\');
            out.put(static_cast<char>(b));
        } else {
            out.put(static_cast<char>(b));
        }
    }
}

// Capability fields go onto continued lines of a description file, short
// enough for any line reader.
constexpr size_t LINE_WIDTH = 76;
constexpr size_t FIELD_MAX = 240;

struct Entry {
    Text text;
    size_t line_start;
    void field(const char *name, const char *value, size_t n, char kind) {
        Text measure{nullptr, 0, 0, false};
        write_field(measure, name, value, n, kind);
        if (measure.len > FIELD_MAX)
            return; // a value too long for a line is of no use to anyone
        if (text.len - line_start + measure.len > LINE_WIDTH) {
            text.puts("\\\n\t:");
            line_start = text.len - 2;
        }
        write_field(text, name, value, n, kind);
    }
    static void write_field(Text &out, const char *name, const char *value, size_t n, char kind) {
        out.puts(name);
        out.put(kind);
        if (kind == '=')
            put_escaped(out, value, n);
        else
            out.puts(value);
        out.put(':');
    }
    // Names come from the capability table, so that no name is spelled twice.
    void string(TermCap cap, const char *value) {
        if (value)
            field(term_capabilities[cap].name, value, strlen(value), '=');
    }
    void number(TermCap cap, int value) {
        char digits[16];
        snprintf(digits, sizeof digits, "%d", value);
        field(term_capabilities[cap].name, digits, 0, '#');
    }
};

// Output strings without their "$<...>" delays: this program pads nothing.
void strip_delays(const char *s, char *out, size_t size) {
    size_t n = 0;
    while (*s && n + 1 < size) {
        if (s[0] == '$' && s[1] == '<') {
            const char *p = s + 2;
            bool digit = false;
            while ((*p >= '0' && *p <= '9') || *p == '.') {
                digit = digit || *p != '.';
                ++p;
            }
            while (*p == '*' || *p == '/')
                ++p;
            if (digit && *p == '>') {
                s = p + 1;
                continue;
            }
        }
        out[n++] = *s++;
    }
    out[n] = '\0';
}

constexpr size_t VALUE_MAX = 512;

void put_output(Entry &e, TermCap cap, const char *value) {
    if (!value)
        return;
    char clean[VALUE_MAX];
    strip_delays(value, clean, sizeof clean);
    e.string(cap, clean);
}

// ---- cursor addressing -------------------------------------------------------

// One step of the cursor string, as far as the termcap template can follow.
struct CupToken {
    enum Kind { LITERAL, DECIMAL, CHARACTER } kind;
    char byte;     // LITERAL
    int digits;    // DECIMAL: at least this many, zero-padded
    int parameter; // 1 row, 2 column
    int offset;    // added to the parameter (from %i and %+)
};

constexpr int CUP_TOKENS_MAX = 128;
constexpr int PIECES_MAX = 10;
constexpr int LITERAL_STORE = 63; // literal bytes plus one per literal piece

struct StackItem {
    int parameter; // 0: a constant
    int value;     // the constant, or the offset on the parameter
};

// Reads a printf-like conversion after "%" (":" flags, width, precision):
// only the forms the template has, "d", "02d", "03d" (or ".2d", ".3d") and
// "c", are accepted. Returns the characters used, or 0.
int read_format(const char *s, char *conversion, int *digits) {
    const char *p = s;
    if (*p == ':')
        ++p;
    bool zero = false;
    while (*p == '0' || *p == '-' || *p == '+' || *p == '#' || *p == ' ') {
        if (*p != '0')
            return 0;
        zero = true;
        ++p;
    }
    // Widths past 3 are refused below; capping here keeps a hostile run of
    // digits from overflowing.
    int width = 0;
    for (; *p >= '0' && *p <= '9'; ++p)
        width = width > 99 ? width : width * 10 + (*p - '0');
    int precision = 0;
    if (*p == '.') {
        ++p;
        for (; *p >= '0' && *p <= '9'; ++p)
            precision = precision > 99 ? precision : precision * 10 + (*p - '0');
    }
    if (*p != 'd' && *p != 'c')
        return 0;
    if (*p == 'c' && (zero || width || precision))
        return 0;
    // A width without the zero flag pads with blanks, which the template
    // cannot write.
    if (width > 1 && !zero)
        return 0;
    int least = width > precision ? width : precision;
    if (least > 3)
        return 0;
    *conversion = *p;
    *digits = least < 1 ? 1 : least;
    return static_cast<int>(p - s) + 1;
}

// Reads the terminfo cursor string into tokens; -1 for anything the
// termcap template cannot express (conditions, arithmetic on both
// coordinates, blank padding, more parameters).
int cup_tokens(const char *cup, CupToken *tokens, int *count) {
    StackItem stack[8];
    int depth = 0;
    int n = 0;
    int increment = 0;
    auto add = [&](const CupToken &t) {
        if (n >= CUP_TOKENS_MAX)
            return false;
        tokens[n++] = t;
        return true;
    };
    auto literal = [&](char c) { return add(CupToken{CupToken::LITERAL, c, 0, 0, 0}); };
    const char *s = cup;
    while (*s) {
        if (*s != '%') {
            if (!literal(*s++))
                return -1;
            continue;
        }
        ++s;
        char op = *s;
        if (op == '%') {
            if (!literal('%'))
                return -1;
            ++s;
        } else if (op == 'i') {
            ++increment;
            ++s;
        } else if (op == 'p') {
            int k = s[1] - '0';
            if ((k != 1 && k != 2) || depth >= 8)
                return -1;
            stack[depth++] = StackItem{k, increment};
            s += 2;
        } else if (op == '\'') {
            if (s[1] == '\0' || s[2] != '\'' || depth >= 8)
                return -1;
            stack[depth++] = StackItem{0, static_cast<unsigned char>(s[1])};
            s += 3;
        } else if (op == '{') {
            int value = 0;
            const char *p = s + 1;
            if (*p < '0' || *p > '9')
                return -1;
            while (*p >= '0' && *p <= '9' && value < 100000)
                value = value * 10 + (*p++ - '0');
            if (*p != '}' || depth >= 8)
                return -1;
            stack[depth++] = StackItem{0, value};
            s = p + 1;
        } else if (op == '+' || op == '-') {
            if (depth < 2)
                return -1;
            StackItem b = stack[--depth];
            StackItem a = stack[depth - 1];
            if (a.parameter && b.parameter)
                return -1;
            if (b.parameter && op == '-')
                return -1; // a constant less a coordinate runs backwards
            int sign = op == '+' ? 1 : -1;
            stack[depth - 1] = StackItem{a.parameter + b.parameter, a.value + sign * b.value};
            ++s;
        } else {
            char conversion = 0;
            int digits = 1;
            int used = read_format(s, &conversion, &digits);
            if (used == 0 || depth < 1)
                return -1;
            s += used;
            StackItem item = stack[--depth];
            if (item.parameter) {
                CupToken::Kind kind = conversion == 'd' ? CupToken::DECIMAL : CupToken::CHARACTER;
                if (!add(CupToken{kind, 0, digits, item.parameter, item.value}))
                    return -1;
            } else if (conversion == 'c') {
                // A constant is plain text.
                if ((item.value & 0xff) == 0 || !literal(static_cast<char>(item.value & 0xff)))
                    return -1;
            } else {
                char text[16];
                snprintf(text, sizeof text, "%0*d", digits, item.value);
                for (const char *t = text; *t; ++t)
                    if (!literal(*t))
                        return -1;
            }
        }
    }
    *count = n;
    return 0;
}

} // namespace

int tc_terminfo_cup(const char *cup, char *out, size_t size) {
    if (!cup || size == 0)
        return -1;
    static CupToken tokens[CUP_TOKENS_MAX];
    int count = 0;
    if (cup_tokens(cup, tokens, &count) < 0)
        return -1;
    // The template takes the coordinates in turns, from the row (or, after
    // "%r", from the column): the string must do the same, and use both.
    int first = 0;
    int expected = 0;
    int origin = -1;
    bool seen[3] = {false, false, false};
    for (int i = 0; i < count; ++i) {
        const CupToken &t = tokens[i];
        if (t.kind == CupToken::LITERAL)
            continue;
        if (first == 0)
            first = expected = t.parameter;
        if (t.parameter != expected)
            return -1;
        expected = 3 - expected;
        seen[t.parameter] = true;
        // Decimal values carry no offset but the template's one origin.
        if (t.kind == CupToken::DECIMAL) {
            if ((t.offset != 0 && t.offset != 1) || (origin >= 0 && t.offset != origin))
                return -1;
            origin = t.offset;
        }
    }
    if (!seen[1] || !seen[2])
        return -1;
    if (origin < 0)
        origin = 0;
    Text text{out, size, 0, false};
    out[0] = '\0';
    if (first == 2)
        text.puts("%r");
    if (origin == 1)
        text.puts("%i");
    int pieces = 0;
    int store = 0;
    bool in_literal = false;
    for (int i = 0; i < count; ++i) {
        const CupToken &t = tokens[i];
        if (t.kind == CupToken::LITERAL) {
            if (!in_literal) {
                ++pieces;
                ++store; // the literal's terminator
            }
            in_literal = true;
            ++store;
            if (t.byte == '%')
                text.put('%');
            text.put(t.byte);
            continue;
        }
        in_literal = false;
        ++pieces;
        if (t.kind == CupToken::DECIMAL) {
            text.puts(t.digits == 1 ? "%d" : t.digits == 2 ? "%2" : "%3");
            continue;
        }
        int offset = (t.offset - origin) & 0xff;
        if (offset == 0) {
            text.puts("%.");
        } else {
            text.puts("%+");
            text.put(static_cast<char>(offset));
        }
    }
    if (pieces > PIECES_MAX || store > LITERAL_STORE || text.failed)
        return -1;
    return static_cast<int>(text.len);
}

namespace {

// The line-drawing pieces in the VT100 alternate character set, by the
// letter that stands for each in "acsc".
struct AcsPiece {
    TermCap cap;
    char letter;
};
const AcsPiece ACS_PIECES[] = {
    {CAP_GH, 'q'}, {CAP_GV, 'x'}, {CAP_GC, 'n'}, {CAP_GL, 'u'}, {CAP_GD, 'w'}, {CAP_GR, 't'},
    {CAP_GU, 'v'}, {CAP_G1, 'k'}, {CAP_G2, 'l'}, {CAP_G3, 'm'}, {CAP_G4, 'j'},
};

void put_line_drawing(Entry &e, const Compiled &c) {
    const char *acsc = string_of(c, S_ACSC);
    if (!acsc)
        return;
    char pieces[11][2] = {};
    for (size_t i = 0; acsc[i] && acsc[i + 1]; i += 2)
        for (int p = 0; p < 11; ++p)
            if (acsc[i] == ACS_PIECES[p].letter && pieces[p][0] == 0)
                pieces[p][0] = acsc[i + 1];
    for (auto &piece : pieces)
        if (piece[0] == 0)
            return; // a set with gaps is not drawn with (ASCII serves)
    const char *smacs = string_of(c, S_SMACS);
    const char *rmacs = string_of(c, S_RMACS);
    char on[VALUE_MAX];
    char off[VALUE_MAX];
    if (smacs && rmacs) {
        // The alternate set is designated once by enacs on a real terminal;
        // with no initialisation of its own, this program does it on each
        // switch (harmless when repeated).
        const char *enacs = string_of(c, S_ENACS);
        char joined[VALUE_MAX];
        snprintf(joined, sizeof joined, "%s%s", enacs ? enacs : "", smacs);
        strip_delays(joined, on, sizeof on);
        strip_delays(rmacs, off, sizeof off);
    } else {
        // Without a switch, only a set of its own characters (not letters
        // that mean lines only in the other set) draws lines.
        for (auto &piece : pieces)
            if (static_cast<unsigned char>(piece[0]) < 128)
                return;
        on[0] = off[0] = '\0';
    }
    e.string(CAP_GS, on);
    e.string(CAP_GE, off);
    for (int p = 0; p < 11; ++p)
        e.string(ACS_PIECES[p].cap, pieces[p]);
}

// The window library's 16 attribute strings each set one combination from
// any other: the reset, then each attribute of the combination.
void put_attributes(Entry &e, const Compiled &c) {
    const char *reset = string_of(c, S_SGR0);
    if (!reset) {
        // Without a reset no combination can be set: standout alone serves
        // the highlight.
        put_output(e, CAP_SO, string_of(c, S_SMSO));
        put_output(e, CAP_SE, string_of(c, S_RMSO));
        return;
    }
    const char *rev = string_of(c, S_REV);
    if (!rev)
        rev = string_of(c, S_SMSO);
    // In bit order of the index: reverse 1, blink 2, bold 4, underline 8.
    const char *parts[4] = {rev, string_of(c, S_BLINK), string_of(c, S_BOLD), string_of(c, S_SMUL)};
    for (int i = 0; i < 16; ++i) {
        char joined[VALUE_MAX];
        size_t n = static_cast<size_t>(snprintf(joined, sizeof joined, "%s", reset));
        for (int bit = 3; bit >= 0 && n < sizeof joined; --bit)
            if ((i >> bit & 1) && parts[bit])
                n += static_cast<size_t>(snprintf(joined + n, sizeof joined - n, "%s", parts[bit]));
        if (n >= sizeof joined)
            continue;
        // The table lists the sixteen in the order of this index.
        put_output(e, static_cast<TermCap>(CAP_NORM + i), joined);
    }
}

void put_keys(Entry &e, const Compiled &c) {
    const struct {
        TermCap cap;
        int index;
    } keys[] = {
        {CAP_KL, S_KCUB1}, {CAP_KR, S_KCUF1}, {CAP_KU, S_KCUU1}, {CAP_KD, S_KCUD1},
        {CAP_KB, S_KBS},   {CAP_DK, S_KDCH1}, {CAP_AL, S_KICH1}, {CAP_BT, S_KCBT},
        {CAP_PU, S_KPP},   {CAP_PD, S_KNP},   {CAP_HO, S_KHOME}, {CAP_EN, S_KEND},
    };
    for (const auto &k : keys)
        e.string(k.cap, string_of(c, k.index));
    // terminfo names no Tab key; every terminal's sends ^I, as the shipped
    // descriptions say.
    e.string(CAP_TA, "\t");
    // F1 to F10 are kf1 to kf10, as terminfo numbers the keys.
    e.number(CAP_FS, 1);
    for (int i = 1; i <= 9; ++i)
        e.string(static_cast<TermCap>(CAP_K0 + i), string_of(c, i == 1 ? S_KF1 : S_KF2 + i - 2));
    e.string(CAP_K0, string_of(c, S_KF10));
    put_output(e, CAP_STD_KS, string_of(c, S_SMKX));
    put_output(e, CAP_STD_KE, string_of(c, S_RMKX));
}

// The names field: the entry's own names, made safe for a description line
// and short enough for one, with the name sought first when the entry does
// not list it (found through a link under another name).
constexpr size_t NAMES_MAX = 120;

bool plain_name_byte(unsigned char b) {
    return b >= 32 && b < 127 && b != ':' && b != '\\';
}

void put_names(Entry &e, const Compiled &c, const char *name) {
    char names[NAMES_MAX + 1];
    size_t n = 0;
    size_t last_bar = 0;
    for (size_t i = 0; i < c.names_len; ++i) {
        unsigned char b = c.names[i];
        if (!plain_name_byte(b))
            continue;
        if (n == NAMES_MAX) {
            n = last_bar; // cut before the name that does not fit
            break;
        }
        if (b == '|')
            last_bar = n;
        names[n++] = static_cast<char>(b);
    }
    names[n] = '\0';
    bool listed = false;
    size_t name_len = strlen(name);
    for (const char *p = names; *p;) {
        const char *bar = strchr(p, '|');
        size_t len = bar ? static_cast<size_t>(bar - p) : strlen(p);
        if (len == name_len && memcmp(p, name, len) == 0)
            listed = true;
        p += len + (bar ? 1 : 0);
    }
    bool plain = name_len <= NAMES_MAX;
    for (const char *p = name; *p; ++p)
        plain = plain && plain_name_byte(static_cast<unsigned char>(*p)) && *p != '|';
    if (!listed && plain) {
        e.text.puts(name);
        if (n)
            e.text.put('|');
    }
    e.text.puts(names);
    e.text.put(':');
}

} // namespace

int tc_terminfo_convert(const unsigned char *data, size_t length, const char *name, char *buffer,
                        size_t size) {
    Compiled c;
    if (!buffer || size == 0 || parse_compiled(data, length, &c) < 0)
        return -1;
    Entry e{Text{buffer, size, 0, false}, 0};
    buffer[0] = '\0';
    put_names(e, c, name);
    int lines = number_of(c, N_LINES);
    if (lines >= 0)
        e.number(CAP_LI, lines);
    e.number(CAP_AW, flag_of(c, B_AM));
    char cup[VALUE_MAX];
    char cm[128];
    if (const char *raw = string_of(c, S_CUP)) {
        strip_delays(raw, cup, sizeof cup);
        if (tc_terminfo_cup(cup, cm, sizeof cm) >= 0)
            e.string(CAP_CM, cm);
    }
    put_output(e, CAP_CL, string_of(c, S_CLEAR));
    put_output(e, CAP_UP, string_of(c, S_CUU1));
    put_output(e, CAP_BC, string_of(c, S_CUB1));
    put_output(e, CAP_CN, string_of(c, S_CNORM));
    put_output(e, CAP_CF, string_of(c, S_CIVIS));
    put_line_drawing(e, c);
    put_attributes(e, c);
    put_keys(e, c);
    e.text.put('\n');
    if (e.text.failed)
        return -1;
    return static_cast<int>(e.text.len);
}

namespace {

// Reads one candidate file whole; -1 when it is missing, not a regular
// file or too large to be an entry.
long read_candidate(const char *path, unsigned char *data, size_t size) {
    FILE *f = open_regular_file(path);
    if (!f)
        return -1;
    size_t n = fread(data, 1, size, f);
    bool more = fgetc(f) != EOF;
    fclose(f);
    return more ? -1 : static_cast<long>(n);
}

// Tries the type in one database directory, in both layouts: the first
// letter ("x/xterm") and its hexadecimal code ("78/xterm").
int try_directory(const char *dir, size_t dir_len, const char *name, char *buffer, size_t size) {
    static unsigned char data[FILE_MAX];
    char path[PATH_MAX];
    unsigned char first = static_cast<unsigned char>(name[0]);
    for (int hex = 0; hex < 2; ++hex) {
        int n = hex ? snprintf(path, sizeof path, "%.*s/%02x/%s", static_cast<int>(dir_len), dir,
                               first, name)
                    : snprintf(path, sizeof path, "%.*s/%c/%s", static_cast<int>(dir_len), dir,
                               first, name);
        if (n < 0 || static_cast<size_t>(n) >= sizeof path)
            continue;
        long length = read_candidate(path, data, sizeof data);
        if (length < 0)
            continue;
        int written = tc_terminfo_convert(data, static_cast<size_t>(length), name, buffer, size);
        if (written >= 0)
            return written;
    }
    return -1;
}

} // namespace

int tc_terminfo_entry(const char *name, char *buffer, size_t size) {
    // The name becomes a path component: nothing that leaves the directory.
    if (!name || !*name || strchr(name, '/') || strlen(name) > NAME_MAX_LEN || name[0] == '.')
        return -1;
    const char *terminfo = getenv("TERMINFO");
    if (terminfo && *terminfo) {
        int n = try_directory(terminfo, strlen(terminfo), name, buffer, size);
        if (n >= 0)
            return n;
    }
    const char *home = getenv("HOME");
    if (home && *home) {
        char dir[PATH_MAX];
        int len = snprintf(dir, sizeof dir, "%s/.terminfo", home);
        if (len > 0 && static_cast<size_t>(len) < sizeof dir) {
            int n = try_directory(dir, static_cast<size_t>(len), name, buffer, size);
            if (n >= 0)
                return n;
        }
    }
    static const char system_default[] = "/usr/share/terminfo";
    if (const char *dirs = getenv("TERMINFO_DIRS")) {
        for (const char *p = dirs;;) {
            const char *colon = strchr(p, ':');
            size_t len = colon ? static_cast<size_t>(colon - p) : strlen(p);
            // An empty element stands for the system's own database.
            int n =
                len ? try_directory(p, len, name, buffer, size)
                    : try_directory(system_default, sizeof system_default - 1, name, buffer, size);
            if (n >= 0)
                return n;
            if (!colon)
                break;
            p = colon + 1;
        }
    }
    static const char *const places[] = {"/etc/terminfo", "/lib/terminfo", system_default};
    for (const char *dir : places) {
        int n = try_directory(dir, strlen(dir), name, buffer, size);
        if (n >= 0)
            return n;
    }
    return -1;
}
