// A terminal described in the standard termcap dialect, as infocmp -C writes
// it with FS#1 added (k1 is F1): its keys act, its keypad mode is set and
// put back, its boxes are drawn with its line-drawing set.
#include "e2e_helpers.h"

#include <gtest/gtest.h>

#include <csignal>

using namespace e2e;

namespace {

const std::string STANDARD_ENTRY =
    "stdterm|standard dialect terminal:\\\n"
    "\t:am:bs:km:co#80:li#24:FS#1:\\\n"
    "\t:cl=\\E[H\\E[2J:cm=\\E[%i%d;%dH:up=\\E[A:ho=\\E[H:al=\\E[L:\\\n"
    "\t:ks=\\E[?1h\\E=:ke=\\E[?1l\\E>:vi=\\E[?25l:ve=\\E[?12l\\E[?25h:\\\n"
    "\t:as=\\E(0:ae=\\E(B:ac=``aaffggjjkkllmmnnooppqqrrssttuuvvwwxxyyzz{{||}}~~:\\\n"
    "\t:me=\\E[m:so=\\E[7m:se=\\E[27m:mr=\\E[7m:md=\\E[1m:\\\n"
    "\t:kb=^H:kD=\\E[3~:kI=\\E[2~:kh=\\EOH:@7=\\EOF:kP=\\E[5~:kN=\\E[6~:\\\n"
    "\t:ku=\\EOA:kd=\\EOB:kr=\\EOC:kl=\\EOD:\\\n"
    "\t:k1=\\EOP:k2=\\EOQ:k3=\\EOR:k4=\\EOS:k5=\\E[15~:k6=\\E[17~:k7=\\E[18~:\\\n"
    "\t:k8=\\E[19~:k9=\\E[20~:k;=\\E[21~:k0=\\EOy:\n";

const std::string KEYPAD_ON = "Up and keypad 1 send 'ESCOAESCOq'";
const std::string KEYPAD_OFF = "Up and keypad 1 send 'ESC[A1'";

} // namespace

TEST(TermDialect, StandardEntryKeysAndModes) {
    std::string root = harness_new_root();
    write_file(root + "/stdterm", STANDARD_ENTRY);
    write_file(root + "/conduvia/config/commands", "ls\nzz\n");
    Harness *h =
        start_at_menu({.env = {"AVTERMCAP=" + root + "/stdterm", "TERM=stdterm"}, .root = root});
    ASSERT_NE(h, nullptr);
    EXPECT_NE(harness_terminal_modes(h).find(KEYPAD_ON), std::string::npos)
        << harness_terminal_modes(h);
    EXPECT_NE(harness_row(h, 9).find("\u250c"), std::string::npos) << "boxes of line pieces";
    EXPECT_FALSE(harness_cursor_visible(h));

    // The keypad-mode arrows, Home and End move the highlight.
    const std::pair<const char *, int> moves[] = {{"\033OB", 1}, {"\033OA", 0}, {"\033OA", 6},
                                                  {"\033OA", 4}, {"\033OH", 0}, {"\033OF", 6}};
    for (const auto &[key, item] : moves) {
        harness_send(h, key);
        harness_wait_idle(h);
        EXPECT_EQ(highlighted(h), std::vector<int>{item}) << key + 1;
    }
    EXPECT_EQ(harness_bells(h), 0);

    // In the commands editor: F2 asks to delete, F5 cancels (it must never
    // save), Home, End, Delete and BackSpace edit, F1 toggles insert mode
    // (with a note), F6 saves.
    harness_type(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "zz"));
    const Step steps[] = {
        {"\033OQ", "Delete this entry?"},
        {"n"},
        {"a", "Add Entry"},
        {"\033[15~"},
        {"aabcd\033OH\033[3~\033OF\b\033OH\033OP", "Insert mode is now ON"},
        {" X", "Xbc"},
        {"\033[17~", "Xbc"},
    };
    for (const Step &step : steps) {
        harness_send(h, step.keys);
        EXPECT_TRUE(harness_wait_text(h, step.expect)) << step.keys << "\n" << harness_screen(h);
    }
    EXPECT_EQ(harness_screen(h).find("Add Entry"), std::string::npos);
    EXPECT_EQ(file_bytes(root + "/conduvia/config/commands"), "ls\nzz\n") << "nothing saved yet";
    harness_send(h, "\033[17~");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT)) << harness_screen(h);
    EXPECT_EQ(file_bytes(root + "/conduvia/config/commands"), "ls\nXbc\nzz\n");
    EXPECT_EQ(harness_bells(h), 1) << "the insert-mode note's";

    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_NE(harness_terminal_modes(h).find(KEYPAD_OFF), std::string::npos)
        << harness_terminal_modes(h);
    EXPECT_TRUE(harness_cursor_visible(h));
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}

// The keypad mode is put back on SIGTERM too.
TEST(TermDialect, KeypadModeOnSignal) {
    std::string root = harness_new_root();
    write_file(root + "/stdterm", STANDARD_ENTRY);
    Harness *h =
        start_at_menu({.env = {"AVTERMCAP=" + root + "/stdterm", "TERM=stdterm"}, .root = root});
    ASSERT_NE(h, nullptr);
    EXPECT_NE(harness_terminal_modes(h).find(KEYPAD_ON), std::string::npos);
    harness_send(h, "\033OB");
    harness_wait_idle(h);
    EXPECT_EQ(highlighted(h), std::vector<int>{1});
    harness_signal(h, SIGTERM);
    EXPECT_EQ(harness_wait_exit(h), 255);
    EXPECT_NE(harness_terminal_modes(h).find(KEYPAD_OFF), std::string::npos)
        << harness_terminal_modes(h);
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}
