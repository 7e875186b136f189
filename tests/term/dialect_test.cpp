// The standard termcap dialect beside this program's own: key names and
// numbering, the keypad mode, line drawing, cursor and attribute strings,
// cursor templates, links and entries given as text.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <set>
#include <tuple>

TEST(CapabilityTable, IndexedByItsEnumAndEveryNameOnce) {
    std::set<std::string> names;
    for (int i = 0; i < CAP_COUNT; ++i) {
        const TermCapability &c = term_capabilities[i];
        EXPECT_EQ(c.cap, i) << c.name;
        EXPECT_TRUE(names.insert(c.name).second) << c.name;
        EXPECT_NE(std::string("BNS").find(c.type), std::string::npos) << c.name;
    }
    // Key rows read strings, but for FS, which numbers the function keys.
    for (int i = 0; i < key_table_size; ++i) {
        const KeySource &row = key_table[i];
        char want = row.rule == KEY_RULE_FKEYS ? 'N' : row.rule == KEY_RULE_BYTES_IF ? 'B' : 'S';
        if (row.cap != CAP_COUNT) {
            EXPECT_EQ(term_capabilities[row.cap].type, want) << i;
        }
    }
}

TEST(KeyRead, StandardDialect) {
    const std::tuple<const char *, std::string, std::vector<int>> cases[] = {
        // The standard key names serve where this program's are absent.
        {"kh=\\EOH:@7=\\EOF:kP=\\E[5~:kN=\\E[6~:kI=\\E[2~:kD=\\E[3~:kb=^H",
         "\x1bOH\x1bOF\x1b[5~\x1b[6~\x1b[2~\x1b[3~\x08",
         {KEY_HOME, KEY_END, KEY_PGUP, KEY_PGDN, KEY_INSERT, KEY_DELETE, KEY_BACKSPACE}},
        // Function keys: FS numbers them, whatever other names the entry uses;
        // k; is no key of this program's.
        {"FS#1:k0=\\EOy:k1=\\EOP:k5=\\E[15~:k9=\\E[20~:k;=\\E[21~",
         "\x1bOP\x1b[15~\x1b[20~\x1bOyx",
         {KEY_F1, KEY_F5, KEY_F9, KEY_F10, 'x'}},
        {"ks=\\E=:ke=\\E>:k0=\\EOy:k1=\\EOP:k4=\\EOS",
         "\x1bOy\x1bOP\x1bOS",
         {KEY_F1, KEY_F2, KEY_F5}},
        {"k1=\\EOP:k2=\\EOQ", "\x1bOP\x1bOQ", {KEY_F2, KEY_F3}},
        {"k0=\\EOP:k1=\\EOQ:k9=\\E[21~", "\x1bOP\x1bOQ\x1b[21~", {KEY_F1, KEY_F2, KEY_F10}},
        {"FS#1:k1=\\EOP:k0=\\E[21~:k;=\\E[99~", "\x1bOP\x1b[21~", {KEY_F1, KEY_F10}},
        // Own names first; the standard ones only where these are absent.
        {"PU=\\E[V:kP=\\E[5~:EN=\\E[Y:@7=\\EOF:dk=\\E[9:kD=\\E[3~",
         "\x1b[V\x1b[Y\x1b[9",
         {KEY_PGUP, KEY_END, KEY_DELETE}},
        {"Dk=\\E[9:kD=\\E[3~", "\x1b[9\x1b[3~\x7f", {KEY_DELETE, KEY_DELETE, 127}},
        // ho and al stay keys; kh and kI are bound as well.
        {"ho=\\E[H:kh=\\EOH:al=\\E[L:kI=\\E[2~",
         "\x1b[H\x1bOH\x1b[L\x1b[2~",
         {KEY_HOME, KEY_HOME, KEY_INSERT, KEY_INSERT}},
        // Byte 127 is Delete without dk and Dk, even where kb sends it.
        {"kb=\\177", "\x7f", {KEY_DELETE}},
        {"kb=^H", "\x7f\b", {KEY_DELETE, KEY_BACKSPACE}},
        {"kb=\\177:kD=\\E[3~", "\x7f\x1b[3~", {KEY_DELETE, KEY_DELETE}},
        {"kb=\\177:dk=\\E[3~", "\x7f\x1b[3~", {KEY_BACKSPACE, KEY_DELETE}},
    };
    for (const auto &[entry, input, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        std::vector<int> got;
        capture_stdout([&] { got = read_keys(input, want.size()); });
        EXPECT_EQ(got, want) << entry;
    }
}

TEST(KeyBindings, FunctionKeyNames) {
    const std::tuple<const char *, std::vector<int>> cases[] = {
        {"k0=a", {CAP_K0, CAP_K1, CAP_K2, CAP_K3, CAP_K4, CAP_K5, CAP_K6, CAP_K7, CAP_K8, CAP_K9}},
        {"FS#1:k0=a:k;=b",
         {CAP_K1, CAP_K2, CAP_K3, CAP_K4, CAP_K5, CAP_K6, CAP_K7, CAP_K8, CAP_K9, CAP_K0}},
        {"FS#12:k;=b",
         {CAP_K0, CAP_K1, CAP_K2, CAP_K3, CAP_K4, CAP_K5, CAP_K6, CAP_K7, CAP_K8, CAP_K9}},
        {"k0=a:kh=b:k;=c",
         {CAP_K0, CAP_K1, CAP_K2, CAP_K3, CAP_K4, CAP_K5, CAP_K6, CAP_K7, CAP_K8, CAP_K9}},
    };
    for (const auto &[entry, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(key_function_cap(i), want[i]) << entry << " F" << i + 1;
    }
}

TEST(TermScreen, StandardCursorKeypadAndLineStrings) {
    const std::string vt100_pieces = "ac=``aaffggjjkkllmmnnooppqqrrssttuuvvwwxxyyzz{{||}}~~";
    struct Case {
        std::string entry;
        std::string on, off, keypad_on, keypad_off;
        std::vector<std::string> lines; // GS, GE, GH, GV, G2 (top left)
    };
    const Case cases[] = {
        {"ve=V:vi=I:ks=S:ke=E", "V", "I", "S", "E", {"", "", "-", "|", "+"}},
        {"CN=N:vi=I:ks=S", "N", "I", "", "", {"", "", "-", "|", "+"}}, // ks without ke: neither
        {"CO=O:ve=V", "", "", "", "", {"", "", "-", "|", "+"}},
        {"as=\\E(0:ae=\\E(B:" + vt100_pieces, "", "", "", "", {"\x1b(0", "\x1b(B", "q", "x", "l"}},
        {"as=^N:ae=^O:eA=\\E)0:ac=qQxXlLkKmMjJtTuUvVwWnN",
         "",
         "",
         "",
         "",
         {"\x1b)0\x0e", "\x0f", "Q", "X", "L"}},
        // One piece missing from ac: none of them, never a mixed set.
        {"as=^N:ae=^O:ac=qQxXlLkKmMjJtTuUvVwW", "", "", "", "", {"", "", "-", "|", "+"}},
        {"as=^N:ac=qQxXlLkKmMjJtTuUvVwWnN", "", "", "", "", {"", "", "-", "|", "+"}},
        // This program's own set wins.
        {"GS=s:GE=e:GH=h:GV=v:GC=c:GL=l:GD=d:GR=r:GU=u:G1=1:G2=2:G3=3:G4=4:as=^N:ae=^O:" +
             vt100_pieces,
         "",
         "",
         "",
         "",
         {"s", "e", "h", "v", "2"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.entry);
        ASSERT_EQ(load_entry("t:" + c.entry + ":\n"), 0);
        term_screen_strings();
        EXPECT_EQ(capture_stdout(term_cursor_on), c.on);
        EXPECT_EQ(capture_stdout(term_cursor_off), c.off);
        EXPECT_EQ(capture_stdout(term_keypad_on), c.keypad_on);
        EXPECT_EQ(capture_stdout(term_keypad_off), c.keypad_off);
        const int which[] = {LS_GS, LS_GE, LS_GH, LS_GV, LS_G2};
        for (int i = 0; i < 5; ++i)
            EXPECT_EQ(term_line_string(which[i]), c.lines[i]) << i;
    }
}

TEST(TermAttributes, OwnNamesThenStandardOnes) {
    // Index: 0 normal, 1 reverse, 2 blink, 4 bold, 13 underlined bold reverse.
    const std::tuple<const char *, std::vector<std::string>> cases[] = {
        {"norm=N:rev=R:se=E:so=S:me=M:mr=V", {"N", "R", "", "", ""}},
        {"se=E:so=S:me=M:mr=V:md=D", {"E", "S", "", "", ""}}, // combinations need me as normal
        {"me=M:mr=V:mb=B:md=D:us=U", {"M", "V", "MB", "MD", "MUDV"}},
        {"me=M:so=S:md=D", {"M", "S", "", "MD", ""}}, // no us: no underlined combination
        {"bold=X:me=M:md=D", {"M", "", "", "X", ""}},
    };
    for (const auto &[entry, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        const int index[] = {0, 1, 2, 4, 13};
        for (int i = 0; i < 5; ++i)
            EXPECT_STREQ(term_attribute_string(index[i]), want[i].c_str())
                << entry << " " << index[i];
    }
}

TEST(TermGoto, StandardTemplateCodes) {
    const std::tuple<const char *, int, int, const char *> cases[] = {
        {"cm=\\E=%+\\s%+\\s", 2, 3, "\x1b=\x22\x23"},       // \s is a blank
        {"cm=\\E[%>\\001\\012%d;%dH", 4, 9, "\x1b[14;9H"},  // above 1: add 10
        {"cm=\\E[%>\\001\\012%d;%dH", 1, 9, "\x1b[1;9H"},   // not above
        {"cm=\\E[%d;%>\\011\\001%dH", 0, 40, "\x1b[0;41H"}, // the column's own
        {"cm=%B%.%B%.", 4, 12, "\x04\x12"},                 // binary-coded decimal
        {"cm=%B%2;%B%2", 23, 45, "35;69"},
        {"cm=%n%.%.", 1, 2, "ab"},                  // both xor 96
        {"cm=\\E&a%r%2c%2Y", 5, 7, "\x1b&a07c05Y"}, // column first
        {"cm=\\E[%i%r%d;%dH", 0, 0, "\x1b[1;1H"},
        {"cm=\\E%>", 1, 1, "('cm' error)"},
    };
    for (const auto &[entry, row, column, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        EXPECT_STREQ(term_goto(row, column), want) << entry << " " << row << "," << column;
    }
}

TEST(TcReadEntry, SeveralLinksInOrder) {
    const std::tuple<const char *, const char *, int> cases[] = {
        // t links a then b; a's own link c comes before b.
        {"t:li#1:tc=a:tc=b:\na:co#2:tc=c:\nb:am#3:pa#4:\nc:am#5:\n", "am", 5},
        {"t:li#1:tc=a:tc=b:\na:co#2:tc=c:\nb:am#3:pa#4:\nc:am#5:\n", "pa", 4},
        {"t:li#1:tc=a:tc=b:\na:co#2:tc=c:\nb:am#3:pa#4:\nc:am#5:\n", "li", 1},
        // A missing link is skipped, the next followed.
        {"t:tc=nowhere:tc=b:\nb:am#3:\n", "am", 3},
        // Over continuation lines, and other fields after the first link dropped.
        {"t:li#1:\\\n\t:tc=a:xx#9:\\\n\t:tc=b:\na:co#2:\nb:am#3:\n", "am", 3},
        {"t:li#1:\\\n\t:tc=a:xx#9:\\\n\t:tc=b:\na:co#2:\nb:am#3:\n", "xx", -1},
    };
    for (const auto &[file, name, want] : cases) {
        ASSERT_EQ(load_entry(file), 0) << file;
        EXPECT_EQ(tc_num(name), want) << file << " " << name;
        EXPECT_EQ(tc_links_cut(), 0);
    }
    // More links than are kept: the first ones are followed, the cut reported.
    std::string many = "t:li#1";
    for (int i = 0; i < 20; ++i)
        many += ":tc=e" + std::to_string(i);
    many += ":\ne0:am#0:\ne1:am#1:pa#1:\ne19:pa#19:\n";
    ASSERT_EQ(load_entry(many), 0);
    EXPECT_EQ(tc_num("am"), 0);
    EXPECT_EQ(tc_num("pa"), 1);
    EXPECT_EQ(tc_links_cut(), 1);
    // A loop of two links still ends, reported.
    ASSERT_EQ(load_entry("t:tc=a:tc=t:\na:li#1:tc=t:\n"), 0);
    EXPECT_EQ(tc_links_cut(), 1);
    EXPECT_EQ(tc_num("li"), 1);
}

TEST(TcReadEntryText, TheEntryItself) {
    const std::tuple<const char *, const char *, const char *, int> cases[] = {
        {"avx|other name:li#7:co#80:", "avx", "li", 7},
        {"avx|other name:li#7:co#80:", "other name", "co", 80},
        {"avx|other name:li#7:", "av", "li", -1}, // the whole name or nothing
        {"avy:li#7:", "avx", "li", -1},
        {"avx:li#7|avy:", "avy", "li", -1},                 // only the names field names it
        {"avx:\\\n\t:li#8:\\\n\t:co#81:", "avx", "co", 81}, // continuation lines
        {"avx:li#1:tc=base:\nbase:bs#9:", "avx", "bs", 9},  // links within the text
        {"avx:li#1:tc=base:", "avx", "li", 1},              // a missing link is no error
    };
    for (const auto &[text, name, cap, want] : cases) {
        term_reset();
        EXPECT_EQ(tc_read_entry_text(text, name), want >= 0 ? 1 : 0) << text << " " << name;
        EXPECT_EQ(tc_num(cap), want) << text << " " << name;
    }
}
