// Cursor addressing and the output operations, byte for byte.
#include "term_test_util.h"

#include <gtest/gtest.h>

namespace {

TEST(TermGoto, Templates) {
    struct Case {
        const char *entry;
        int row, column;
        std::string want;
    } cases[] = {
        {"cm=\\E[%i%d;%dH", 0, 0, "\x1b[1;1H"},
        {"cm=\\E[%i%d;%dH", 4, 9, "\x1b[5;10H"},
        {"cm=\\E[%i%d;%dH", 5, 79, "\x1b[6;79H\x1b[6;80H"},
        {"cm=\\E[%r%d;%dH", 4, 9, "\x1b[9;4H"},
        {"cm=\\E[%d;%r%i%dH", 4, 9, "\x1b[5;5H"}, // %r, %i inside a literal
        {"cm=\\E=%+ %+ ", 2, 3, "\x1b=\x22\x23"},
        {"cm=%2/%3", 7, 7, "07/007"},
        {"cm=%2/%3", 123, 4, "123/004"},
        {"cm=%%%d%q", 1, 0, "%1%q"},
        {"cm=a%", 1, 1, "a%"},
        {"cm=5*\\E[%i%d;%dH", 0, 0, "\x1b[1;1H"},
        {"cm=\\EY%.%.:up=U:bc=B", 0, 8, "\x1bY\x01\x0bUBBB"},
        {"cm=\\EY%.%.:up=U:bc=B", 9, 10, "\x1bY\x0b\x0bUUB"},
        {"cm=\\EY%.%.:up=U:bc=B", 6, 7, "\x1bY\x06\x07"},
        {"cm=\\EY%.%.:bs:ku=K", 10, 0, "\x1bY\x0b\x01K\b"},
        {"cm=\\EY%.%.", 8, 8, "\x1bY\x0b\x0b(UP)(UP)(UP)(BC)(BC)(BC)"},
        {"cm=\\EY%.%.:up=U:bc=B", 0, 79, "\x1bY\x01NU\x1bY\x01OU"},
        {"cm=%+\\377%+\\002", 1, 1, std::string("\x00\x03", 2)},
        {"li#24", 3, 3, "('cm' error)"},
        {"cm=\\E%+", 3, 3, "('cm' error)"},
        {"cm=%d%d%d%d%d%d%d%d%d%d", 1, 2, "1212121212"},
        {"cm=a%db%dc%dd%de%df", 1, 2, "('cm' error)"},
        {"cm=x1234567890123456789012345678901234567890123456789012345678901%d", 1, 2,
         "x12345678901234567890123456789012345678901234567890123456789011"},
        {"cm=x12345678901234567890123456789012345678901234567890123456789012%d", 1, 2,
         "('cm' error)"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t:") + c.entry + ":\n"), 0);
        const char *got = term_goto(c.row, c.column);
        // The offset case yields a NUL first; compare the raw bytes.
        std::string got_bytes = got[0] ? std::string(got) : std::string(got, 1 + strlen(got + 1));
        EXPECT_EQ(got_bytes, c.want);
    }
}

TEST(TermGoto, OverlongExpansionIsCutInsideBuffer) {
    std::string cm = "cm=\\EY%.%.:up=";
    cm += std::string(60, 'U');
    ASSERT_EQ(load_entry("t:" + cm + ":bc=B:\n"), 0);
    const char *got = term_goto(0, 79); // three up strings of 60 bytes
    EXPECT_EQ(strlen(got), 127u);
}

TEST(TermScreenStrings, CursorStrings) {
    struct Case {
        const char *entry;
        std::string on, off;
    } cases[] = {
        {"CN=N:CF=F", "N", "F"},
        {"CO=O:CF=F", "O", "F"},
        {"CN=N:CO=O:CF=F", "N", "F"},
        {"CN=N", "", ""},
        {"CF=F", "", ""},
        {"Ab:CF=F", "\x1b[=1;14C", "F"},
        {"Ab:CN=N:CF=F", "\x1b[=1;14C", "F"},
        {"Ab", "", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t:") + c.entry + ":\n"), 0);
        term_screen_strings();
        EXPECT_EQ(capture_stdout(term_cursor_on), c.on);
        EXPECT_EQ(capture_stdout(term_cursor_off), c.off);
    }
}

TEST(TermScreenStrings, LineStringsAllOrNone) {
    const char *all = "GS=S:GE=E:GH=h:GV=v:GC=c:GL=l:GD=d:GR=r:GU=u:G1=1:G2=2:G3=3:G4=4";
    const char *want_all[LS_COUNT] = {"S", "E", "h", "v", "c", "l", "d",
                                      "r", "u", "1", "2", "3", "4"};
    const char *want_fallback[LS_COUNT] = {"",  "",  "-", "|", "+", "+", "+",
                                           "+", "+", "+", "+", "+", "+"};
    for (int i = 0; i < LS_COUNT; ++i)
        EXPECT_STREQ(term_line_string(i), "") << "before loading";
    ASSERT_EQ(load_entry(std::string("t:") + all + ":\n"), 0);
    term_screen_strings();
    for (int i = 0; i < LS_COUNT; ++i)
        EXPECT_STREQ(term_line_string(i), want_all[i]) << i;
    EXPECT_STREQ(term_line_string(LS_COUNT), "");
    EXPECT_STREQ(term_line_string(-1), "");

    term_reset();
    ASSERT_EQ(load_entry(std::string("t:G4@:") + all + ":\n"), 0);
    term_screen_strings();
    for (int i = 0; i < LS_COUNT; ++i)
        EXPECT_STREQ(term_line_string(i), want_fallback[i]) << i;
}

TEST(TermClear, StringOrNewlines) {
    struct Case {
        const char *entry;
        std::string want;
    } cases[] = {
        {"cl=\\E[H\\E[J:li#24", "\x1b[H\x1b[J"},
        {"li#24", std::string(48, '\n')},
        {"cl=:li#3", std::string(6, '\n')},
        {"bs", ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t:") + c.entry + ":\n"), 0);
        EXPECT_EQ(capture_stdout(term_clear), c.want);
        EXPECT_EQ(capture_stdout(term_clear), c.want);
    }
}

TEST(TermAutoMargin, FromAwOrLines) {
    struct Case {
        const char *entry;
        int lines, want;
    } cases[] = {
        {"li#25", 25, 0},      {"li#24", 24, 1},      {"bs", -1, 1},
        {"aw#0:li#24", 24, 0}, {"aw#1:li#25", 25, 1}, {"aw:li#25", 25, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        term_reset();
        ASSERT_EQ(load_entry(std::string("t:") + c.entry + ":\n"), 0);
        EXPECT_EQ(term_lines(), c.lines);
        EXPECT_EQ(term_auto_margin(), c.want);
    }
}

TEST(TermBeep, WritesBell) {
    EXPECT_EQ(capture_stdout(term_beep), "\a");
}

} // namespace
