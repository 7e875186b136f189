// Signals and the stray interrupt byte on every screen: the program either
// ends with the terminal exactly as it found it, or goes on unharmed.
#include <gtest/gtest.h>

#include <csignal>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

struct Screen {
    const char *open;   // keys from the menu
    const char *shows;  // text the screen shows
    const char *probe;  // a key the screen answers
    const char *answer; // what it then shows; empty: a bell
    const char *back;   // keys back to the screen after the answer
};

const Screen SCREENS[] = {
    {"", "X - Exit", "{F10}", "", ""},
    {"n", "Name To IP Address Table", "q", "", ""},
    {"c", "Authorized UNIX Commands", "q", "", ""},
    {"e", "UNIX Environment Variables", "q", "", ""},
    {"?", "On-Line Documentation", "q", "", ""},
    {"g", "Version : ", " ", "X - Exit", "g"},
};

TEST(AppSignals, EndOrStrayInterruptByteOnEveryScreen) {
    for (const Screen &s : SCREENS) {
        for (int sig : {SIGTERM, SIGHUP}) {
            SCOPED_TRACE(testing::Message() << s.shows << ", signal " << sig);
            std::string root = harness_new_root();
            write_file(root + "/conduvia/doc", "Some documentation\n");
            Harness *h = start_at_menu({.root = root, .record_stty = true});
            ASSERT_NE(h, nullptr);
            harness_keys(h, s.open);
            ASSERT_TRUE(harness_wait_text(h, s.shows)) << harness_screen(h);
            // 0xFF is the interrupt character in raw mode: the terminal
            // swallows it and raises SIGINT, which must change nothing. The
            // probe comes in the same write, for the program to read.
            int bells = harness_bells(h);
            harness_keys(h, std::string("\xff") + s.probe);
            if (s.answer[0] != '\0')
                EXPECT_TRUE(harness_wait_text(h, s.answer)) << harness_screen(h);
            else
                EXPECT_EQ(harness_bells(h), bells + 1);
            harness_keys(h, s.back);
            ASSERT_TRUE(harness_wait_text(h, s.shows)) << harness_screen(h);

            harness_signal(h, sig);
            EXPECT_EQ(harness_wait_exit(h, 1000), 255);
            EXPECT_EQ(harness_stty(h), harness_stty_before(h));
            EXPECT_EQ(harness_screen(h).find_first_not_of(" \n"), std::string::npos);
            EXPECT_TRUE(harness_cursor_visible(h));
            harness_stop(h);
        }
    }
}

// Ctrl-Z under a job-control shell, which then puts its own (cooked) mode on
// the terminal; "fg" brings the program back where it was.
TEST(AppSignals, SuspendAndContinueRepaintsInRawMode) {
    std::string root = harness_new_root();
    write_file(root + "/conduvia/config/commands", "alpha\nbeta\ngamma\n");
    Harness *h = harness_start({.program = "/bin/bash",
                                .args = {"-c", "set -m; " AV_BINARY "; stty sane; read -r go; fg"},
                                .root = root,
                                .watch_child = true});
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    harness_type(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands"));
    harness_key(h, "Ctrl-Z");
    ASSERT_TRUE(harness_wait_text(h, "Stopped")) << harness_screen(h);
    EXPECT_EQ(harness_screen(h).find("Authorized"), std::string::npos) << "left on the screen";
    EXPECT_TRUE(harness_cursor_visible(h));
    harness_type(h, "\r");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands")) << harness_screen(h);
    EXPECT_TRUE(harness_cursor_visible(h));
    EXPECT_EQ(harness_cursor(h), std::make_pair(23, 69)) << "parked after the legend again";
    EXPECT_TRUE(harness_reverse(h, 2, 2));
    harness_key(h, "Down");
    EXPECT_FALSE(harness_reverse(h, 2, 2));
    EXPECT_TRUE(harness_reverse(h, 3, 2)) << harness_screen(h);
    EXPECT_EQ(harness_screen(h).find("[B"), std::string::npos) << "echoed";
    harness_key(h, "Esc");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    quit(h);
}

} // namespace
