// Keys and line drawing as outside terminals give them: PuTTY's defaults
// under TERM=xterm, Alt keys, and boxes by locale.
#include "e2e_helpers.h"

#include <gtest/gtest.h>

using namespace e2e;

namespace {

void send(Harness *h, const std::string &bytes) {
    harness_send(h, bytes);
    harness_wait_idle(h);
}

} // namespace

// PuTTY's Home, End, F1 and F2 (the VT220 forms) act under the xterm
// description, in the menu and in a text field.
TEST(TermKeys, PuttyEditingKeysUnderXterm) {
    std::string root = harness_new_root();
    Harness *h = start_at_menu({.root = root});
    ASSERT_NE(h, nullptr);
    send(h, "\033[4~");
    EXPECT_EQ(highlighted(h), std::vector<int>{6}) << "End";
    send(h, "\033[1~");
    EXPECT_EQ(highlighted(h), std::vector<int>{0}) << "Home";
    harness_type(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands"));
    harness_type(h, "aabc");
    send(h, "\033[1~"); // Home
    harness_type(h, "X");
    send(h, "\033[11~"); // F1: insert mode, with a note and its bell
    EXPECT_TRUE(harness_wait_text(h, "Insert mode is now ON"));
    harness_type(h, " ");
    harness_type(h, "Y");
    send(h, "\033[12~"); // F2: delete the character under the cursor
    send(h, "\033[4~");  // End
    harness_type(h, "Z");
    EXPECT_NE(harness_screen(h).find("XYcZ"), std::string::npos) << harness_screen(h);
    harness_keys(h, "{F6}{F6}");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    EXPECT_EQ(file_bytes(root + "/conduvia/config/commands"), "XYcZ\n");
    EXPECT_EQ(harness_bells(h), 1) << "the note's only";
    quit(h);
}

// Alt-Up (ESC ESC [ A, or ESC ESC O A) rings once and changes nothing, in
// the menu and in a table screen, where it once opened the Add Entry dialog.
TEST(TermKeys, AltArrowsRingOnceAndDoNothing) {
    Harness *h = start_at_menu();
    ASSERT_NE(h, nullptr);
    const std::string keys[] = {"\033\033[A", "\033\033OA"};
    int bells = harness_bells(h);
    std::string menu = harness_screen(h);
    for (const std::string &key : keys) {
        send(h, key);
        EXPECT_EQ(harness_bells(h), ++bells) << "menu: " << key.substr(1);
        EXPECT_EQ(harness_screen(h), menu) << key.substr(1);
    }
    harness_type(h, "n");
    ASSERT_TRUE(harness_wait_text(h, "Name To IP Address Table"));
    std::string table = harness_screen(h);
    bells = harness_bells(h);
    for (const std::string &key : keys) {
        send(h, key);
        EXPECT_EQ(harness_bells(h), ++bells) << "table: " << key.substr(1);
        EXPECT_EQ(harness_screen(h), table) << key.substr(1);
    }
    harness_key(h, "Esc");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    quit(h);
}

// In a UTF-8 locale the xterm description's VT100 switch gives way to the
// UTF-8 box characters (PuTTY shows the switch's letters); under LANG=C the
// switch stays; AVLINES forces either way or ASCII.
TEST(TermLines, BoxesByLocale) {
    const std::string utf8_corner = "\342\224\214"; // the top-left corner
    struct Case {
        const char *what;
        std::vector<std::string> env;
        bool sends_switch, sends_utf8;
        std::string corner;
    } cases[] = {
        {"UTF-8 locale", {"LANG=C.UTF-8"}, false, true, utf8_corner},
        {"C locale", {"LANG=C"}, true, false, utf8_corner},
        {"LC_ALL decides", {"LANG=C.UTF-8", "LC_ALL=C"}, true, false, utf8_corner},
        {"forced VT100", {"LANG=C.UTF-8", "AVLINES=vt100"}, true, false, utf8_corner},
        {"forced UTF-8", {"LANG=C.UTF-8", "TERM=ansi", "AVLINES=utf8"}, false, true, utf8_corner},
        {"forced ASCII", {"LANG=C.UTF-8", "AVLINES=ascii"}, false, false, "+"},
    };
    for (const Case &c : cases) {
        Harness *h = start_at_menu({.env = c.env});
        ASSERT_NE(h, nullptr) << c.what;
        const std::string &out = harness_output(h);
        EXPECT_EQ(out.find("\033(0") != std::string::npos, c.sends_switch) << c.what;
        EXPECT_EQ(out.find(utf8_corner) != std::string::npos, c.sends_utf8) << c.what;
        EXPECT_EQ(harness_row(h, 1).substr(27, c.corner.size()), c.corner) << c.what;
        EXPECT_EQ(harness_row_plain(h, 1).substr(27, 3), "+--") << c.what;
        quit(h);
    }
}
