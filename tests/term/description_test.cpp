// Description loading, lookups and the output built from them, byte for byte.
#include "term_test_util.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <sys/stat.h>
#include <tuple>

TEST(TcStr, Decoding) {
    const std::pair<const char *, const char *> cases[] = {
        {"^H^a^[", "\b\x01\x1b"},
        {"\\177\\401", "\x7f\x01"}, // octal keeps the low 8 bits
        {"\\E[H", "\x1b[H"},
        {"\\\\\\^\\a\\f\\n\\r\\t\\v", "\\^\a\f\n\r\t\v"},
        {"\\b\\e", "\\b\\e"},
        {"5*\\E[%i%d;%dH", "\x1b[%i%d;%dH"},
        {"20\\E[H", "\x1b[H"},
        {"3.5*x", "x"},
        {"12.5", "12.5"}, // nothing after the delay: the digits are the value
        {"^:x", ":x"},
        {"a^:", "a:"}, // "^:" is a colon and the value goes on
    };
    for (const auto &[field, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:a=") + field + ":\n"), 0);
        EXPECT_STREQ(tc_str("a"), want) << field;
    }
}

TEST(TcReadEntry, LinksAndSelection) {
    ASSERT_EQ(load_entry("# t:\nt:li#24:ku@:up=U:uu_r=R:uu=N:tc=b:\nb:li#25:bs:ku=K:up=V:\n"), 0);
    EXPECT_EQ(tc_num("li"), 24);
    EXPECT_EQ(tc_flag("bs"), 1);
    EXPECT_EQ(tc_str("ku"), nullptr) << "cancelled before the link";
    EXPECT_STREQ(tc_str("up"), "U");
    EXPECT_EQ(tc_str("uu"), nullptr) << "the first field beginning with the name wins";
    EXPECT_EQ(load_entry("xterm-256color:li#2:\n", "xterm"), -2);
    ASSERT_EQ(load_entry("t:li#24:tc=nowhere:\n"), 0);
    EXPECT_EQ(tc_num("li"), 24);
}

TEST(TcFind, FieldsAnywhereInTheEntry) {
    // Fields at either end, after empty ones, and behind near misses.
    const std::tuple<const char *, const char *, int> cases[] = {
        {"t:li#7:co#80:\n", "li", 7},    {"t:li#7:co#80\n", "co", 80},
        {"t:::li#4::\n", "li", 4},       {"t:lx#1:l#2:li#3:\n", "li", 3},
        {"t:lx#1:l#2:li#3:\n", "l", -1}, {"t:xli#1:li#5:\n", "li", 5},
        {"t:co#1:\n", "li", -1},         {"t:li:\n", "li", -1},
        {"t|li#9:co#1:\n", "li", -1}, // the names are not a field
    };
    for (const auto &[entry, name, want] : cases) {
        ASSERT_EQ(load_entry(entry), 0) << entry;
        EXPECT_EQ(tc_num(name), want) << entry << " " << name;
    }
}

TEST(TermInitFamily, CutsAtTheLastSeparator) {
    const std::pair<const char *, int> cases[] = {{"screen.linux", 3}, {"xterm-256color-italic", 1},
                                                  {"xterm+a.b-c", 2},  {"screen-", 3},
                                                  {"-screen", -1},     {"nosuch-thing", -1}};
    std::string path = temp_file("xterm-256color:li#1:\nxterm:li#2:\nscreen:li#3:\n");
    setenv("AVTERMCAP", path.c_str(), 1);
    for (const auto &[name, li] : cases) {
        term_reset();
        setenv("AVTERM", name, 1);
        TermState state{};
        ASSERT_EQ(term_init(TERM_KEEP_MODE, &state), -2) << name;
        EXPECT_EQ(term_init_family(TERM_KEEP_MODE, &state), li > 0 ? 0 : -2) << name;
        EXPECT_EQ(tc_num("li"), li) << name;
        EXPECT_STREQ(state.term_name, name) << "the message names the type asked for";
    }
    unlink(path.c_str());
}

TEST(TcLoad, FileSearch) {
    std::string has = temp_file("t:li#1:\n");
    const std::tuple<const char *, const char *, int> cases[] = {
        {has.c_str(), "t:li#9:", 1},
        {"/nonexistent", has.c_str(), -1}, // only AVTERMCAP is searched
        {"t:li#5:", has.c_str(), 1},       // AVTERMCAP not a path: ignored
        {nullptr, "t:li#9:", -1},          // TERMCAP not a path: ignored too
        {"/tmp", has.c_str(), -1}};        // not a regular file: skipped
    unsetenv("QXTERMCAP");
    for (const auto &[av, tcap, li] : cases) {
        term_reset();
        av ? setenv("AVTERMCAP", av, 1) : unsetenv("AVTERMCAP");
        setenv("TERMCAP", tcap, 1);
        EXPECT_EQ(tc_load("t"), li > 0);
        EXPECT_EQ(tc_num("li"), li);
    }
    unlink(has.c_str());
}

TEST(TermGoto, Templates) {
    const char *ansi = "cm=\\E[%i%d;%dH", *dot = "cm=\\EY%.%.:up=U:bc=B";
    const std::tuple<const char *, int, int, const char *> cases[] = {
        {ansi, 4, 9, "\x1b[5;10H"},
        {ansi, 5, 79, "\x1b[6;79H\x1b[6;80H"},
        {"cm=\\E[%r%d;%dH", 4, 9, "\x1b[9;4H"},
        {"cm=\\E=%+ %+ ", 2, 3, "\x1b=\x22\x23"},
        {"cm=%2/%3", 7, 7, "07/007"},
        {dot, 0, 8, "\x1bY\x01\x0bUBBB"}, // 0, 8, 9 and 10 are not sent as they are
        {dot, 9, 10, "\x1bY\x0b\x0bUUB"},
        {dot, 0, 79, "\x1bY\x01NU\x1bY\x01OU"},
        {"cm=\\E%+", 3, 3, "('cm' error)"}};
    for (const auto &[entry, row, column, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        EXPECT_STREQ(term_goto(row, column), want) << entry << " " << row << "," << column;
    }
}

TEST(TermScreen, CursorClearAndMargin) {
    const std::tuple<const char *, const char *, const char *, std::string, int> cases[] = {
        {"CN=N:CF=F:li#2", "N", "F", "\n\n\n\n", 1},
        {"CO=O:CF=F:li#25:cl=C", "O", "F", "C", 0},
        {"CN=N:aw#0:li#24", "", "", std::string(48, '\n'), 0}, // no CF: neither
        {"Ab:CN=N:CF=F:aw#1:li#25", "\x1b[=1;14C", "F", std::string(50, '\n'), 1},
        {"li#100", "", "", std::string(200, '\n'), 0},
        // A hostile "li" is bounded, not trusted for minutes of newlines.
        {"aw:li#999999999", "", "", std::string(200, '\n'), 0}};
    for (const auto &[entry, on, off, clear, auto_margin] : cases) {
        SCOPED_TRACE(entry);
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        term_screen_strings();
        EXPECT_EQ(capture_stdout(term_cursor_on), on);
        EXPECT_EQ(capture_stdout(term_cursor_off), off);
        EXPECT_EQ(capture_stdout(term_clear), clear);
        EXPECT_EQ(term_auto_margin(), auto_margin);
    }
}

TEST(TermScreenStrings, OneMissingLineStringMeansAllFallbacks) {
    ASSERT_EQ(load_entry("t:G4@:GS=S:GE=E:GH=h:GV=v:GC=c:GL=l:GD=d:GR=r:GU=u:G1=1:G2=2:G3=3:\n"),
              0);
    term_screen_strings();
    const char *want[LS_COUNT] = {"", "", "-", "|", "+", "+", "+", "+", "+", "+", "+", "+", "+"};
    for (int i = 0; i < LS_COUNT; ++i)
        EXPECT_STREQ(term_line_string(i), want[i]) << i;
}

TEST(Termdef, EveryEntryIsUsable) {
    setenv("AVTERMCAP", AV_SOURCE_DIR "/data/termdef", 1);
    std::ifstream in(AV_SOURCE_DIR "/data/termdef");
    int entries = 0;
    for (std::string line; std::getline(in, line);) {
        std::string name = line.substr(0, line.find_first_of("|:"));
        if (name.empty() || name.find_first_of("#\t ") == 0 || name.rfind("av-", 0) == 0)
            continue; // not an entry's first line, or a part shared by entries
        SCOPED_TRACE(name);
        ++entries;
        term_reset();
        setenv("AVTERM", name.c_str(), 1);
        TermState state{};
        ASSERT_EQ(term_init(TERM_KEEP_MODE, &state), 0);
        EXPECT_STRNE(term_goto(23, 79), "('cm' error)");
        term_screen_strings();
        // Either a full set of distinct pieces, or (no line drawing) the ASCII fallbacks.
        std::set<std::string> pieces = {""};
        for (int i = LS_GH; i < LS_COUNT; ++i)
            pieces.insert(term_line_string(i));
        const std::set<std::string> fallback = {"", "-", "|", "+"};
        EXPECT_TRUE(pieces.size() == LS_COUNT - LS_GH + 1u || pieces == fallback);
        // Every key the entry has must come back as itself: no binding hides
        // another. Tab and Backspace may share their bytes with others.
        std::string burst;
        std::vector<int> want;
        KeyBinding bindings[80];
        int n = key_bindings(bindings, 80);
        for (int i = 0; i < n; ++i) {
            if (bindings[i].cap < 0 || bindings[i].code == KEY_TAB ||
                bindings[i].code == KEY_BACKSPACE)
                continue;
            burst += bindings[i].sequence;
            want.push_back(bindings[i].code);
        }
        EXPECT_GE(want.size(), 3u);
        key_init();
        EXPECT_EQ(read_keys(burst, want.size()), want);
    }
    EXPECT_GT(entries, 20);
}
