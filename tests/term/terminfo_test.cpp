// Compiled terminfo entries, laid out byte by byte here, read back through
// the description reader as the program would load them.
#include "term/term_internal.h"
#include "term_test_util.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <tuple>

namespace {

// Indexes of the compiled entry's strings that these tests set.
enum {
    CLEAR = 5,
    CUP = 10,
    CIVIS = 13,
    CUB1 = 14,
    CNORM = 16,
    CUU1 = 19,
    SMACS = 25,
    BLINK = 26,
    BOLD = 27,
    REV = 34,
    SMSO = 35,
    SMUL = 36,
    RMACS = 38,
    SGR0 = 39,
    RMSO = 43,
    KBS = 55,
    KDCH1 = 59,
    KCUD1 = 61,
    KF1 = 66,
    KF10 = 67,
    KF2 = 68,
    KHOME = 76,
    KICH1 = 77,
    KCUB1 = 79,
    KNP = 81,
    KPP = 82,
    KCUF1 = 83,
    KCUU1 = 87,
    RMKX = 88,
    SMKX = 89,
    ACSC = 146,
    KCBT = 148,
    ENACS = 155,
    KEND = 164,
};

const char VT100_ACSC[] = "``aaffggjjkkllmmnnooqqssttuuvvwwxx~~";

struct Compiled {
    std::string names = "tt|test terminal";
    std::vector<int> bools = {0, 1}; // am
    std::vector<int> numbers = {80, 8, 24};
    std::map<int, std::string> strings;
    bool wide = false;     // the format with 32-bit numbers
    bool extended = false; // an extended names section after the strings

    std::string bytes() const {
        std::string out;
        auto put16 = [&](int v) {
            out += static_cast<char>(v & 0xff);
            out += static_cast<char>((v >> 8) & 0xff);
        };
        int count = strings.empty() ? 0 : strings.rbegin()->first + 1;
        std::string table;
        std::vector<int> offsets(static_cast<size_t>(count), -1);
        for (const auto &[index, value] : strings) {
            offsets[static_cast<size_t>(index)] = static_cast<int>(table.size());
            table += value + '\0';
        }
        put16(wide ? 01036 : 0432);
        put16(static_cast<int>(names.size() + 1));
        put16(static_cast<int>(bools.size()));
        put16(static_cast<int>(numbers.size()));
        put16(count);
        put16(static_cast<int>(table.size()));
        out += names + '\0';
        for (int b : bools)
            out += static_cast<char>(b);
        if (out.size() % 2)
            out += '\0';
        for (int n : numbers) {
            put16(n);
            if (wide)
                put16(n < 0 ? -1 : n >> 16);
        }
        for (int o : offsets)
            put16(o);
        out += table;
        if (extended) {
            // One boolean, one string and their names ("XT", "Ms").
            if (out.size() % 2)
                out += '\0';
            std::string ext_table = std::string("\033]52\0", 5) + "XT\0Ms\0";
            for (int v : {1, 0, 1, 3, static_cast<int>(ext_table.size())})
                put16(v);
            out += '\1';
            out += '\0';
            for (int v : {0, 0, 3, 6})
                put16(v);
            out += ext_table;
        }
        return out;
    }
};

// A temporary database directory, in the letter or the hexadecimal layout.
struct Database {
    std::filesystem::path root;
    Database() {
        char dir[] = "/tmp/avtest_ti_XXXXXX";
        root = mkdtemp(dir);
    }
    ~Database() { std::filesystem::remove_all(root); }
    void add(const std::string &name, const std::string &bytes, bool hex = false) {
        add_to(root, name, bytes, hex);
    }
    static void add_to(const std::filesystem::path &dir, const std::string &name,
                       const std::string &bytes, bool hex = false) {
        char sub[8];
        snprintf(sub, sizeof sub, hex ? "%02x" : "%c", static_cast<unsigned char>(name[0]));
        std::filesystem::create_directories(dir / sub);
        std::ofstream(dir / sub / name, std::ios::binary) << bytes;
    }
};

// The entry text for name, or "" when there is none.
std::string entry_text(const char *name) {
    char buffer[8192];
    int n = tc_terminfo_entry(name, buffer, sizeof buffer);
    return n < 0 ? "" : std::string(buffer, static_cast<size_t>(n));
}

std::string converted(const Compiled &c, const char *name = "tt") {
    std::string bytes = c.bytes();
    char buffer[8192];
    int n = tc_terminfo_convert(reinterpret_cast<const unsigned char *>(bytes.data()), bytes.size(),
                                name, buffer, sizeof buffer);
    return n < 0 ? "" : std::string(buffer, static_cast<size_t>(n));
}

const char *str_or_null(const char *cap) {
    const char *s = tc_str(cap);
    return s ? s : "(none)";
}

Compiled xterm_like() {
    Compiled c;
    c.strings = {
        {CLEAR, "\033[H\033[2J$<50>"},
        {CUP, "\033[%i%p1%d;%p2%dH"},
        {CIVIS, "\033[?25l"},
        {CUB1, "\b"},
        {CNORM, "\033[?12l\033[?25h"},
        {CUU1, "\033[A"},
        {SMACS, "\033(0"},
        {BLINK, "\033[5m"},
        {BOLD, "\033[1m"},
        {REV, "\033[7m"},
        {SMSO, "\033[7m"},
        {SMUL, "\033[4m"},
        {RMACS, "\033(B"},
        {SGR0, "\033(B\033[m"},
        {RMSO, "\033[27m"},
        {KBS, "\177"},
        {KDCH1, "\033[3~"},
        {KCUD1, "\033OB"},
        {KF1, "\033OP"},
        {KF10, "\033[21~"},
        {KF2, "\033OQ"},
        {KF2 + 7, "\033[20~"},
        {KHOME, "\033OH"},
        {KICH1, "\033[2~"},
        {KCUB1, "\033OD"},
        {KNP, "\033[6~"},
        {KPP, "\033[5~"},
        {KCUF1, "\033OC"},
        {KCUU1, "\033OA"},
        {RMKX, "\033[?1l\033>"},
        {SMKX, "\033[?1h\033="},
        {ACSC, VT100_ACSC},
        {KCBT, "\033[Z"},
        {KEND, "\033OF"},
    };
    return c;
}

class Terminfo : public testing::Test {
  protected:
    Database db;
    void SetUp() override {
        setenv("TERMINFO", db.root.c_str(), 1);
        unsetenv("TERMINFO_DIRS");
        setenv("HOME", "/nonexistent", 1);
    }
    // Loads the text through the description reader, as the program does.
    void load(const std::string &text, const char *name = "tt") {
        ASSERT_FALSE(text.empty());
        ASSERT_EQ(load_entry(text, name), 0) << text;
    }
};

} // namespace

// Both formats, both layouts, with and without the extended names: the
// program gets every capability it reads under its own name.
TEST_F(Terminfo, EntryGivesTheProgramsCapabilities) {
    const std::tuple<const char *, bool, bool, bool> cases[] = {
        {"avti-legacy", false, false, false},
        {"avti-wide", true, false, false},
        {"avti-ext", false, true, true},
        {"avti-wide-ext", true, true, false},
    };
    for (const auto &[name, wide, extended, hex] : cases) {
        Compiled c = xterm_like();
        c.wide = wide;
        c.extended = extended;
        c.names = std::string(name) + "|an xterm to test";
        db.add(name, c.bytes(), hex);
        std::string text = entry_text(name);
        SCOPED_TRACE(text);
        load(text, name);
        EXPECT_EQ(tc_num("li"), 24);
        EXPECT_EQ(tc_num("aw"), 1);
        EXPECT_STREQ(str_or_null("cm"), "%i\033[%d;%dH");
        EXPECT_STREQ(term_goto(4, 9), "\033[5;10H");
        EXPECT_STREQ(str_or_null("cl"), "\033[H\033[2J") << "without its delay";
        EXPECT_STREQ(str_or_null("up"), "\033[A");
        EXPECT_STREQ(str_or_null("bc"), "\b");
        EXPECT_STREQ(str_or_null("CN"), "\033[?12l\033[?25h");
        EXPECT_STREQ(str_or_null("CF"), "\033[?25l");
        EXPECT_STREQ(str_or_null("ks"), "\033[?1h\033=");
        EXPECT_STREQ(str_or_null("ke"), "\033[?1l\033>");
        EXPECT_STREQ(str_or_null("norm"), "\033(B\033[m");
        EXPECT_STREQ(str_or_null("rev"), "\033(B\033[m\033[7m");
        EXPECT_STREQ(str_or_null("und_bold_blink_rev"), "\033(B\033[m\033[4m\033[1m\033[5m\033[7m");
        term_screen_strings();
        const std::pair<int, const char *> lines[] = {
            {LS_GS, "\033(0"}, {LS_GE, "\033(B"}, {LS_GH, "q"}, {LS_GV, "x"}, {LS_G2, "l"},
            {LS_G4, "j"},      {LS_GC, "n"},      {LS_GD, "w"}, {LS_GL, "u"},
        };
        for (const auto &[which, want] : lines)
            EXPECT_STREQ(term_line_string(which), want) << which;
        std::string keys = "\033OA\033OB\033OC\033OD\177\033[3~\033[2~\033[Z\033[5~\033[6~"
                           "\033OH\033OF\033OP\033OQ\033[20~\033[21~\t";
        EXPECT_EQ(read_keys(keys, 17),
                  (std::vector<int>{KEY_UP, KEY_DOWN, KEY_RIGHT, KEY_LEFT, KEY_BACKSPACE,
                                    KEY_DELETE, KEY_INSERT, KEY_BACKTAB, KEY_PGUP, KEY_PGDN,
                                    KEY_HOME, KEY_END, KEY_F1, KEY_F2, KEY_F9, KEY_F10, KEY_TAB}));
    }
}

// The text survives the description reader byte for byte: every byte value
// a string can hold, and values that look like a delay.
TEST_F(Terminfo, StringsRoundTripEveryByte) {
    Compiled c;
    std::string all;
    for (int b = 1; b < 256; ++b)
        all += static_cast<char>(b);
    const int chunk = 37;
    for (int i = 0; i * chunk < 255; ++i)
        c.strings[i == 0 ? KF1 : KF2 + i - 1] = all.substr(static_cast<size_t>(i * chunk), chunk);
    c.strings[KCUU1] = "5*x";
    c.strings[KCUD1] = "12.5";
    c.strings[KHOME] = ":^\\\\:";
    load(converted(c));
    for (int i = 0; i * chunk < 255; ++i) {
        std::string cap = "k" + std::to_string(i + 1);
        EXPECT_EQ(str_or_null(cap.c_str()), all.substr(static_cast<size_t>(i * chunk), chunk))
            << cap;
    }
    EXPECT_STREQ(str_or_null("ku"), "5*x");
    EXPECT_STREQ(str_or_null("kd"), "12.5");
    EXPECT_STREQ(str_or_null("ho"), ":^\\\\:");
}

TEST(TerminfoCup, Translations) {
    const std::pair<const char *, const char *> cases[] = {
        {"\033[%i%p1%d;%p2%dH", "%i\033[%d;%dH"},
        {"\033[%p1%d;%p2%dH", "\033[%d;%dH"},
        {"\033[%i%p2%d;%p1%dH", "%r%i\033[%d;%dH"}, // column first
        {"\033=%p1%02d%p2%03d", "\033=%2%3"},
        {"\033=%p1%.2d%p2%:03d", "\033=%2%3"},
        {"\033Y%p1%' '%+%c%p2%' '%+%c", "\033Y%+ %+ "},
        {"\033Y%p1%{32}%+%c%p2%{32}%+%c", "\033Y%+ %+ "},
        {"\033Y%' '%p1%+%c%p2%{32}%+%c", "\033Y%+ %+ "},
        {"\033=%p1%c%p2%c", "\033=%.%."},
        {"\033=%i%p1%c%p2%c", "\033=%+\001%+\001"},
        {"\033[%p1%{1}%+%d;%p2%{1}%+%dH", "%i\033[%d;%dH"}, // %i by hand
        {"%%%p1%d:%p2%d%{5}%d", "%%%d:%d5"},                // constants are text
        {"\033&a%p2%dc%p1%dY", "%r\033&a%dc%dY"},
        {"%p1%d%p2%d%'x'", "%d%d"}, // a value left on the stack is never sent
    };
    for (const auto &[cup, want] : cases) {
        char out[128];
        int n = tc_terminfo_cup(cup, out, sizeof out);
        EXPECT_EQ(n >= 0 ? std::string(out, static_cast<size_t>(n)) : "(none)", want) << cup;
    }
    const char *refused[] = {
        "\033[%i%p1%d;%p2%d%?%p1%{10}%<%tX%;H",                 // a condition
        "\033[%p1%2d;%p2%2dH",                                  // blank padding
        "\033[%p1%x;%p2%xH",                                    // hexadecimal
        "\033[%p1%d;%p1%dH",                                    // the row twice
        "\033[%p1%dH",                                          // no column
        "\033[%p1%p2%+%dH",                                     // both in one value
        "\033[%p3%d;%p2%dH",                                    // a third parameter
        "\033[%p1%{2}%*%d;%p2%dH",                              // arithmetic beyond an offset
        "\033[%i%p1%d;%p2%{1}%+%dH",                            // two origins
        "\033[%p1%d;%p2%dH%p1%c%p2%c%p1%c%p2%c%p1%c%p2%c%p1%c", // more pieces than the template has
        // more literal text than the template holds
        "\033[%p1%d;%p2%d0123456789012345678901234567890123456789012345678901234567890H",
    };
    for (const char *cup : refused) {
        char out[128];
        EXPECT_EQ(tc_terminfo_cup(cup, out, sizeof out), -1) << cup;
    }
}

// A cursor string the template cannot follow leaves the entry without "cm",
// which the program treats as a terminal without cursor addressing.
TEST_F(Terminfo, InexpressibleCursorGivesNoCm) {
    Compiled c = xterm_like();
    c.strings[CUP] = "\033[%i%p1%d;%p2%d%?%p1%{10}%<%tX%;H";
    load(converted(c));
    EXPECT_EQ(tc_str("cm"), nullptr);
    EXPECT_STREQ(term_goto(0, 0), "('cm' error)");
    EXPECT_STREQ(str_or_null("cl"), "\033[H\033[2J");
}

TEST_F(Terminfo, LineDrawingAndAttributes) {
    struct Case {
        const char *what;
        std::map<int, std::string> strings;
        const char *gs, *gh, *norm, *rev, *so;
    };
    const Case cases[] = {
        {"switch with enacs",
         {{SMACS, "\016"}, {RMACS, "\017"}, {ENACS, "\033(B\033)0"}, {ACSC, VT100_ACSC}},
         "\033(B\033)0\016",
         "q",
         "(none)",
         "(none)",
         "(none)"},
        {"a piece missing",
         {{SMACS, "\033(0"}, {RMACS, "\033(B"}, {ACSC, "qqxxllkkmmjjttuuvvww"}},
         "(none)",
         "(none)",
         "(none)",
         "(none)",
         "(none)"},
        {"own characters, no switch",
         {{ACSC, "q\304x\263l\332k\277m\300j\331t\303u\264v\301w\302n\305"}},
         "",
         "\304",
         "(none)",
         "(none)",
         "(none)"},
        {"letters, no switch",
         {{ACSC, VT100_ACSC}},
         "(none)",
         "(none)",
         "(none)",
         "(none)",
         "(none)"},
        {"standout only",
         {{SMSO, "\033[7m$<2>"}, {RMSO, "\033[m"}},
         "(none)",
         "(none)",
         "(none)",
         "(none)",
         "\033[7m"},
        {"no rev: standout",
         {{SGR0, "\033[m$<2>"}, {SMSO, "\033[3m"}},
         "(none)",
         "(none)",
         "\033[m",
         "\033[m\033[3m",
         "(none)"},
    };
    for (const Case &k : cases) {
        Compiled c;
        c.strings = k.strings;
        load(converted(c));
        EXPECT_STREQ(str_or_null("GS"), k.gs) << k.what;
        EXPECT_STREQ(str_or_null("GH"), k.gh) << k.what;
        EXPECT_STREQ(str_or_null("norm"), k.norm) << k.what;
        EXPECT_STREQ(str_or_null("rev"), k.rev) << k.what;
        EXPECT_STREQ(str_or_null("so"), k.so) << k.what;
    }
}

// Where the entry is looked for: the first place that has it wins, in
// either layout; a broken file there lets the search go on.
TEST_F(Terminfo, SearchOrder) {
    Database home, dirs1, dirs2;
    std::filesystem::create_directories(home.root / ".terminfo");
    setenv("HOME", home.root.c_str(), 1);
    std::string list = dirs1.root.string() + ":" + dirs2.root.string();
    setenv("TERMINFO_DIRS", list.c_str(), 1);
    auto with_lines = [](int lines) {
        Compiled c;
        c.names = "avti-order";
        c.numbers = {80, 8, lines};
        return c.bytes();
    };
    dirs2.add("avti-order", with_lines(4), true);
    EXPECT_NE(entry_text("avti-order").find("li#4:"), std::string::npos);
    dirs1.add("avti-order", with_lines(3));
    EXPECT_NE(entry_text("avti-order").find("li#3:"), std::string::npos);
    Database::add_to(home.root / ".terminfo", "avti-order", with_lines(2));
    EXPECT_NE(entry_text("avti-order").find("li#2:"), std::string::npos);
    db.add("avti-order", "garbage that is no entry");
    EXPECT_NE(entry_text("avti-order").find("li#2:"), std::string::npos);
    db.add("avti-order", with_lines(1), true);
    EXPECT_NE(entry_text("avti-order").find("li#1:"), std::string::npos);
}

TEST_F(Terminfo, NothingUsable) {
    Compiled good = xterm_like();
    std::string bytes = good.bytes();
    std::string bad_magic = bytes;
    bad_magic[0] = 0x1b;
    std::string negative = bytes;
    negative[4] = static_cast<char>(0xff); // a negative boolean count
    negative[5] = static_cast<char>(0xff);
    const std::pair<const char *, std::string> files[] = {
        {"avti-empty", ""},
        {"avti-garbage", "not a terminfo entry at all"},
        {"avti-magic", bad_magic},
        {"avti-short", bytes.substr(0, bytes.size() - 1)},
        {"avti-header", bytes.substr(0, 11)},
        {"avti-negative", negative},
    };
    for (const auto &[name, content] : files) {
        db.add(name, content);
        EXPECT_EQ(entry_text(name), "") << name;
    }
    EXPECT_EQ(entry_text("avti-nowhere"), "");
    const char *names[] = {"", "../x/avti-legacy", ".hidden", "a/b"};
    for (const char *name : names)
        EXPECT_EQ(entry_text(name), "") << name;
    char tiny[16];
    db.add("avti-tiny", bytes);
    EXPECT_EQ(tc_terminfo_entry("avti-tiny", tiny, sizeof tiny), -1) << "does not fit";
}

// A link under another name still loads under the name sought; names that
// would break the description line are left out of its names field.
TEST_F(Terminfo, NamesField) {
    const std::tuple<std::string, const char *, const char *> cases[] = {
        {"tt|test terminal", "tt", "tt|test terminal:"},
        {"xx|other", "tt", "tt|xx|other:"},
        {"a:b\\c|d\001e", "tt", "tt|abc|de:"},
        {std::string(300, 'n') + "|last", "tt", "tt:"},
    };
    for (const auto &[names, name, start] : cases) {
        Compiled c;
        c.names = names;
        std::string text = converted(c, name);
        EXPECT_EQ(text.substr(0, strlen(start)), start) << names;
        EXPECT_LT(text.find('\n'), 254u) << "the first line fits any line reader";
    }
}

// The database is the last place searched, and only when no file is pinned;
// family names are searched the same way, so a type's own entry comes first.
TEST_F(Terminfo, LastResortOfTheSearch) {
    Compiled c = xterm_like();
    c.names = "avti-last|compiled only";
    db.add("avti-last", c.bytes());
    struct Case {
        const char *type;
        const char *avtermcap; // nullptr: unset
        const char *termcap;   // nullptr: unset
        int loaded;            // term_init, then term_init_family on -2
        int li;
    };
    const Case cases[] = {
        {"avti-last", nullptr, nullptr, 0, 24},
        {"avti-last", "/nonexistent", nullptr, -2, -1},   // a pinned file is the whole search
        {"avti-last", nullptr, "avti-last:li#9:", 0, 24}, // TERMCAP text is ignored
        {"avti-last-x", nullptr, nullptr, 0, 24},         // by its family
        {"avti-nowhere", nullptr, nullptr, -2, -1},
    };
    unsetenv("QXTERMCAP");
    for (const Case &k : cases) {
        SCOPED_TRACE(k.type);
        term_reset();
        k.avtermcap ? setenv("AVTERMCAP", k.avtermcap, 1) : unsetenv("AVTERMCAP");
        k.termcap ? setenv("TERMCAP", k.termcap, 1) : unsetenv("TERMCAP");
        setenv("AVTERM", k.type, 1);
        TermState state{};
        int loaded = term_init(TERM_KEEP_MODE, &state);
        if (loaded == -2)
            loaded = term_init_family(TERM_KEEP_MODE, &state);
        EXPECT_EQ(loaded, k.loaded);
        EXPECT_EQ(tc_num("li"), k.li);
    }
    unsetenv("TERMCAP");
}
