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

// The program started through sh -c with a shell command before it: a signal
// ignored (trap '') or a limit set there is what the program starts with.
Harness *start_after(const std::string &shell_command, const std::string &root,
                     bool record_stty = false) {
    std::string command = shell_command + "; exec";
    for (const std::string &arg : harness_command())
        command += " '" + arg + "'";
    return start_at_menu({.program = "/bin/sh",
                          .args = {"-c", command},
                          .env = {"PATH=/usr/bin:/bin"},
                          .root = root,
                          .record_stty = record_stty});
}

struct Ending {
    int signal_number;
    const char *open;  // keys from the menu
    const char *shows; // text the screen then shows
};

// Each signal that would end the program, each on one of the kinds of
// screen in turn: the menu, a table screen, an entry dialog, the pager.
TEST(AppSignals, EverySignalThatEndsTheProgramGivesTheTerminalBack) {
    const Ending endings[] = {
        {SIGPIPE, "", "X - Exit"},      {SIGUSR1, "c", "Authorized UNIX Commands"},
        {SIGUSR2, "ea", "NAME=value"},  {SIGALRM, "?", "On-Line Documentation"},
        {SIGVTALRM, "", "X - Exit"},    {SIGPROF, "c", "Authorized UNIX Commands"},
        {SIGXCPU, "ea", "NAME=value"},  {SIGIO, "?", "On-Line Documentation"},
        {SIGSTKFLT, "", "X - Exit"},    {SIGPWR, "c", "Authorized UNIX Commands"},
        {SIGRTMIN, "ea", "NAME=value"}, {SIGRTMAX, "?", "On-Line Documentation"},
    };
    for (const Ending &e : endings) {
        SCOPED_TRACE(testing::Message() << e.shows << ", signal " << e.signal_number);
        // The user-mode emulator keeps the first real-time signals for itself
        // and renumbers the others, so what is sent is not what the program
        // gets; a kernel that runs the program itself tests them.
        if (harness_emulated() && e.signal_number >= SIGRTMIN)
            continue;
        std::string root = harness_new_root();
        write_file(root + "/conduvia/doc", "Some documentation\n");
        Harness *h = start_at_menu({.root = root, .record_stty = true});
        ASSERT_NE(h, nullptr);
        harness_keys(h, e.open);
        ASSERT_TRUE(harness_wait_text(h, e.shows)) << harness_screen(h);
        harness_signal(h, e.signal_number);
        EXPECT_EQ(harness_wait_exit(h, 2000), 255);
        EXPECT_EQ(harness_stty(h), harness_stty_before(h));
        EXPECT_EQ(harness_screen(h).find_first_not_of(" \n"), std::string::npos);
        EXPECT_TRUE(harness_cursor_visible(h));
        harness_stop(h);
    }
}

// A signal ignored by whoever started the program stays ignored; a file size
// limit makes a save fail with its error box instead of killing the program
// in the middle of it.
TEST(AppSignals, IgnoredSignalsStayIgnoredAndAFileSizeLimitFailsTheSave) {
    std::string root = harness_new_root();
    const std::string commands = root + "/conduvia/config/commands";
    const std::string old_bytes = std::string(60, 'x') + "\n" + std::string(60, 'y') + "\n";
    write_file(commands, old_bytes);
    Harness *h = start_after("trap '' USR1 ALRM; ulimit -f 0", root);
    ASSERT_NE(h, nullptr);
    harness_signal(h, SIGUSR1);
    harness_signal(h, SIGALRM);
    harness_keys(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands")) << harness_screen(h);
    harness_keys(h, "awho{F6}{F6}");
    EXPECT_TRUE(harness_wait_text(h, "Could not write")) << harness_screen(h);
    EXPECT_EQ(file_bytes(commands), old_bytes);
    EXPECT_EQ(files_starting(root + "/conduvia/config", "."), std::vector<std::string>{});
    harness_keys(h, " {Esc}");
    ASSERT_TRUE(harness_wait_text(h, "Lose all changes?")) << harness_screen(h);
    harness_keys(h, "y");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    quit(h);
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
    ASSERT_TRUE(harness_wait_stopped(h)) << harness_screen(h);
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

// Under a wrapper in the same job (sh -c, make run) the wrapper stops at once
// and the shell takes the terminal back while the program still restores its
// mode. Every fg must bring the program back in raw mode, not stopped again.
TEST(AppSignals, SuspendUnderAWrapperAndContinue) {
    std::string root = harness_new_root();
    write_file(root + "/conduvia/config/commands", "alpha\nbeta\ngamma\n");
    Harness *h = harness_start({.program = "/bin/bash",
                                // No loop: bash leaves a loop when a job in it stops.
                                .args = {"-c", "set -m; sh -c '" AV_BINARY "; echo wrapper-done'; "
                                               "read -r go; fg; read -r go; fg; read -r go; fg"},
                                .root = root,
                                .watch_child = true});
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    harness_type(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands"));
    for (int round = 1; round <= 3; round++) {
        SCOPED_TRACE(testing::Message() << "round " << round);
        harness_key(h, "Ctrl-Z");
        ASSERT_TRUE(harness_wait_idle(h));
        EXPECT_NE(harness_stty(h).find(" icanon"), std::string::npos) << "left raw";
        EXPECT_EQ(harness_screen(h).find("Authorized"), std::string::npos) << "left on the screen";
        harness_type(h, "\r");
        ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands")) << harness_screen(h);
        EXPECT_NE(harness_stty(h).find("-icanon"), std::string::npos) << "not raw after fg";
        // The highlight goes down and up again, a key a round.
        int row = round % 2 ? 2 : 3, to = round % 2 ? 3 : 2;
        EXPECT_TRUE(harness_reverse(h, row, 2)) << harness_screen(h);
        harness_key(h, round % 2 ? "Down" : "Up");
        EXPECT_TRUE(harness_reverse(h, to, 2)) << harness_screen(h);
    }
    harness_keys(h, "{Esc}");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_NE(harness_screen(h).find("wrapper-done"), std::string::npos) << harness_screen(h);
    harness_stop(h);
}

} // namespace
