// The harness itself, driven with small shell programs, so that a fault in
// it is not mistaken for a fault in the program under test.
#include "harness.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

HarnessOptions shell(const std::string &script) {
    HarnessOptions o;
    o.program = "/bin/sh";
    o.args = {"-c", script};
    o.key_pause_ms = 20;
    return o;
}

TEST(Harness, ScreenCursorAttributesAndBells) {
    Harness *h = harness_start(shell("printf '\\033[2J\\033[3;5HHello\\033[7mRev\\033[m\\a\\a"
                                     "\\033(0lqk\\033(B\\033[?25l\\033[10;20H'; sleep 5"));
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, "HelloRev"));
    harness_wait_quiet(h);
    std::string row = harness_row(h, 2);
    EXPECT_EQ(row.substr(4, 8), "HelloRev");
    EXPECT_FALSE(harness_reverse(h, 2, 4));
    EXPECT_TRUE(harness_reverse(h, 2, 9));
    // Line drawing arrives as box-drawing characters in UTF-8.
    EXPECT_EQ(row.substr(12, 9), "\u250c\u2500\u2510");
    EXPECT_EQ(harness_bells(h), 2);
    EXPECT_EQ(harness_cursor(h), std::make_pair(9, 19));
    EXPECT_FALSE(harness_cursor_visible(h));
    EXPECT_EQ(harness_screen(h).size(), 24u * 80u + 23u + 6u); // three 3-byte characters
    harness_stop(h);
}

TEST(Harness, KeysReachTheProgramAndStatusIsReported) {
    // The shell reads one line in the terminal's normal mode and exits with
    // a status that depends on it.
    Harness *h = harness_start(shell("read x; [ \"$x\" = abc ] && exit 7; exit 3"));
    ASSERT_NE(h, nullptr);
    harness_type(h, "abc");
    harness_key(h, "Enter");
    EXPECT_EQ(harness_wait_exit(h), 7);
    harness_stop(h);
}

TEST(Harness, ModeChangesAreDetected) {
    struct Case {
        const char *script;
        bool unchanged;
    };
    const Case cases[] = {
        {"exit 0", true},
        {"stty raw -echo; exit 0", false},
        {"s=$(stty -g); stty raw -echo; stty \"$s\"; exit 0", true},
    };
    for (const Case &c : cases) {
        Harness *h = harness_start(shell(c.script));
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(harness_wait_exit(h), 0) << c.script;
        EXPECT_EQ(harness_mode_unchanged(h), c.unchanged) << c.script;
        harness_stop(h);
    }
}

TEST(Harness, EnvironmentUserAndRootAreThoseAsked) {
    std::string root = harness_new_root();
    { std::ofstream(root + "/marker") << "here\n"; }
    HarnessOptions o = shell("printf '%s|%s|%s|' \"$TERM\" \"$FOO\" \"$(id -u)\";"
                             "cat " AV_PRODUCT_ROOT "/marker; sleep 5");
    o.root = root;
    o.env = {"FOO=bar", "PATH=/usr/bin:/bin"};
    o.as_root = false;
    Harness *h = harness_start(o);
    ASSERT_NE(h, nullptr);
    EXPECT_TRUE(harness_wait_text(h, "xterm|bar|65534|here")) << harness_screen(h);
    EXPECT_EQ(harness_root(h), root);
    harness_stop(h);
}

TEST(Harness, HangupEndsAProgramReadingTheTerminal) {
    Harness *h = harness_start(shell("printf ready; read x; exit 0"));
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, "ready"));
    harness_hangup(h);
    int status = harness_wait_exit(h, 2000);
    EXPECT_NE(status, -1);
    harness_stop(h);
}

TEST(Harness, KeyNamesAreXtermBytes) {
    // od prints what arrived, byte by byte, in octal.
    Harness *h = harness_start(shell("stty raw -echo; printf ready; od -An -c -N 9; sleep 5"));
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, "ready"));
    harness_key(h, "Up");
    harness_key(h, "F6");
    harness_key(h, "Ctrl-G");
    ASSERT_TRUE(harness_wait_text(h, "033   [   A 033   [   1   7   ~  \\a")) << harness_output(h);
    harness_stop(h);
}

} // namespace
