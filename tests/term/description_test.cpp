// Description loading and the three lookups.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <cstring>

namespace {

std::string str_or_null(const char *s) {
    return s ? std::string(s) : std::string("<null>");
}

TEST(TcLookup, NothingBeforeInit) {
    EXPECT_EQ(tc_flag("bs"), 0);
    EXPECT_EQ(tc_num("li"), -1);
    EXPECT_EQ(tc_str("cm"), nullptr);
}

TEST(TcStr, Decoding) {
    struct Case {
        const char *field;
        std::string want;
    } cases[] = {
        {"a=^H", "\b"},
        {"a=^a^A", "\x01\x01"},
        {"a=^[", "\x1b"},
        {"a=^?", "?"},
        {"a=\\177", "\x7f"},
        {"a=\\0a", ""}, // a NUL byte ends the C string
        {"a=\\000x", "\\000x"},
        {"a=\\400", ""}, // low 8 bits of 256
        {"a=\\401", "\x01"},
        {"a=\\1234", "S4"},
        {"a=\\E[H", "\x1b[H"},
        {"a=\\\\\\^\\a\\f\\n\\r\\t\\v", "\\^\a\f\n\r\t\v"},
        {"a=\\b\\e", "\\b\\e"},
        {"a=x\\:y", "x\\"},
        {"a=", ""},
        {"a=5", "5"},
        {"a=5*", "5*"},
        {"a=12.5", "12.5"},
        {"a=5*\\E[%i%d;%dH", "\x1b[%i%d;%dH"},
        {"a=20\\E[H", "\x1b[H"},
        {"a=3.5*x", "x"},
        {"a=3.x", "x"},
        {"a=x^", "x^"},
        {"a=x\\", "x\\"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.field);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t|test:") + c.field + ":z=1:\n"), 0);
        EXPECT_EQ(str_or_null(tc_str("a")), c.want);
    }
}

TEST(TcLookup, FieldForms) {
    ASSERT_EQ(load_entry("t|test:bs:li#24:co#8x:nn#:xx@:yy=v:zz#012:\\\n"
                         "\t:sw:ww=1:\n"),
              0);
    struct Case {
        const char *name;
        int flag, num;
        const char *str;
    } cases[] = {
        {"bs", 1, -1, "<null>"}, {"li", 0, 24, "<null>"},   {"co", 0, -1, "<null>"},
        {"nn", 0, -1, "<null>"}, {"xx", 0, -1, "<null>"},   {"yy", 0, -1, "v"},
        {"zz", 0, 12, "<null>"}, {"sw", 1, -1, "<null>"},   {"ww", 0, -1, "1"},
        {"t", 0, -1, "<null>"},  {"test", 0, -1, "<null>"}, {"q", 0, -1, "<null>"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(tc_flag(c.name), c.flag);
        EXPECT_EQ(tc_num(c.name), c.num);
        EXPECT_EQ(str_or_null(tc_str(c.name)), c.str);
    }
}

TEST(TcFind, FirstFieldBeginningWithNameWins) {
    ASSERT_EQ(load_entry("t:und_rev=\\E[4;7m:und=\\E[4m:bold=B:bold_rev=BR:\n"), 0);
    EXPECT_EQ(tc_str("und"), nullptr);
    EXPECT_STREQ(tc_str("und_rev"), "\x1b[4;7m");
    EXPECT_STREQ(tc_str("bold"), "B");
    EXPECT_STREQ(tc_str("bold_rev"), "BR");
}

TEST(TcReadEntry, LinkMergingAndCancellation) {
    const char *file = "# comment t|x:\n"
                       "other|t2:li#99:\n"
                       "first|t|alias two:li#24:\\\n"
                       "\t:ku@:up=U:\\\n"
                       "\t:tc=base:\n"
                       "base|the base:li#25:bs:\\\n"
                       "\t:ku=K:cm=\\E[%i%d;%dH:\n";
    for (const char *name : {"t", "first", "alias two"}) {
        SCOPED_TRACE(name);
        term_reset();
        ASSERT_EQ(load_entry(file, name), 0);
        EXPECT_EQ(tc_num("li"), 24);
        EXPECT_EQ(tc_flag("bs"), 1);
        EXPECT_EQ(tc_str("ku"), nullptr);
        EXPECT_STREQ(tc_str("up"), "U");
        EXPECT_STREQ(tc_str("cm"), "\x1b[%i%d;%dH");
        EXPECT_EQ(tc_find("tc"), -1);
    }
}

TEST(TcReadEntry, EntrySelectionAndLinks) {
    struct Case {
        const char *file, *name;
        int result, li;
    } cases[] = {
        {"xterm-256color:li#2:\nXterm:li#3:\nxterm|x:li#1:\n", "xterm", 0, 1},
        {"xterm-256color:li#2:\nxterm|x:li#1:\n", "xter", -2, -1},
        {"a|b c:li#1:\n", "b c", 0, 1},
        {"t:li#24:tc=nowhere:\n", "t", 0, 24},       // missing link: keep what was read
        {"t|loop:li#24:tc=loop:\n", "t", 0, 24},     // a link back to itself ends
        {"u:li#5:tc=v:\nv:co#1:tc=u:\n", "u", 0, 5}, // and so does a cycle
        {"t:li#1:tc=u:\nv:li#3:\n", "v", 0, 3},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        term_reset();
        ASSERT_EQ(load_entry(c.file, c.name), c.result);
        EXPECT_EQ(tc_num("li"), c.li);
        EXPECT_EQ(tc_find("tc"), -1);
    }
}

TEST(TcReadEntry, LongEntryIsCut) {
    std::string file = "t:";
    for (int i = 0; i < 400; ++i)
        file += "ab=0123456789:\\\n";
    file += "\t:zz#1:\nu:li#7:\n";
    ASSERT_EQ(load_entry(file), 0);
    EXPECT_EQ(tc_num("zz"), -1);
    EXPECT_STREQ(tc_str("ab"), "0123456789");
    term_reset();
    ASSERT_EQ(load_entry(file, "u"), 0);
    EXPECT_EQ(tc_num("li"), 7);
}

TEST(TcStr, AreaFillsUpWithoutOverflow) {
    std::string value(200, 'x');
    ASSERT_EQ(load_entry("t:a=" + value + ":\n"), 0);
    // 20 whole copies with their NULs take 4020 bytes; the 21st is cut at
    // the 4096th byte; later lookups give empty strings.
    size_t chars = 0;
    for (int i = 0; i < 21; ++i) {
        const char *s = tc_str("a");
        ASSERT_NE(s, nullptr);
        chars += strlen(s);
    }
    EXPECT_EQ(chars, 20u * 200u + 76u);
    EXPECT_STREQ(tc_str("a"), "");
    EXPECT_STREQ(tc_str("a"), "");
}

TEST(TermInit, TypeFromEnvironment) {
    std::string path = write_termcap("a:li#1:\nq:li#2:\nt:li#3:\n:li#4:\n");
    setenv("AVTERMCAP", path.c_str(), 1);
    struct Case {
        const char *avterm, *qxterm, *term;
        int result, li;
    } cases[] = {
        {"a", "q", "t", 0, 1}, {nullptr, "q", "t", 0, 2},           {nullptr, nullptr, "t", 0, 3},
        {"", "q", "t", 0, -1}, {nullptr, nullptr, nullptr, -1, -1}, {"zz", nullptr, "t", -2, -1},
    };
    for (const Case &c : cases) {
        term_reset();
        set_env({"AVTERM", "QXTERM", "TERM"}, {c.avterm, c.qxterm, c.term});
        TermState state{};
        state.saved_mode.c_lflag = 0x1234;
        EXPECT_EQ(term_init(1, &state), c.result);
        EXPECT_EQ(tc_num("li"), c.li);
        if (c.result == 0)
            EXPECT_STREQ(state.term_name, c.avterm ? c.avterm : c.qxterm ? c.qxterm : c.term);
        else
            EXPECT_EQ(state.saved_mode.c_lflag, 0x1234); // mode not read
    }
    unlink(path.c_str());
}

TEST(TcLoad, FileSearch) {
    std::string has = write_termcap("t:li#1:\n");
    std::string other = write_termcap("t:li#2:\n");
    std::string lacks = write_termcap("u:li#3:\n");
    struct Case {
        const char *av, *qx, *tcap;
        int found, li;
    } cases[] = {
        {has.c_str(), other.c_str(), other.c_str(), 1, 1},
        {lacks.c_str(), has.c_str(), has.c_str(), 0, -1}, // no other file tried
        {nullptr, other.c_str(), has.c_str(), 1, 2},
        {nullptr, lacks.c_str(), has.c_str(), 0, -1},
        {"t:li#5:", nullptr, has.c_str(), 1, 1}, // not a path: ignored
        {nullptr, "relative", other.c_str(), 1, 2},
        {nullptr, nullptr, "t:li#9:", 0, -1},
        {"/nonexistent/termcap", nullptr, has.c_str(), 0, -1},
    };
    for (const Case &c : cases) {
        term_reset();
        set_env({"AVTERMCAP", "QXTERMCAP", "TERMCAP"}, {c.av, c.qx, c.tcap});
        // "t" is in no standard file on a build machine; the product's own
        // file (first searched) holds no entry of that name.
        EXPECT_EQ(tc_load("t"), c.found);
        EXPECT_EQ(tc_num("li"), c.li);
    }
    unlink(has.c_str());
    unlink(other.c_str());
    unlink(lacks.c_str());
}

} // namespace
