// The main menu, the information screen and the way out, through a terminal.
#include "e2e_helpers.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <unistd.h>

using namespace e2e;

// One session, under valgrind where the build found one that runs this
// program (not a sanitized or emulated one, nor a 32-bit one it cannot).
TEST(AppMenu, SessionDrawsMovesShowsInformationAndExits) {
    HarnessOptions o;
    const char *valgrind = getenv("AV_E2E_VALGRIND");
    if (valgrind != nullptr && valgrind[0] != '\0' && harness_command().size() == 1) {
        o.program = valgrind;
        o.args = {"-q", "--leak-check=full", "--error-exitcode=99", harness_command()[0]};
    }
    Harness *h = start_at_menu(o);
    ASSERT_NE(h, nullptr);
    // The title box at column 27 on rows 1-4, the menu at column 23 on rows 9-18.
    const std::string drawn[] = {
        "+-----------------------+",          "| Ardovane PC Conduvia  |",
        "| Configuration Program |",          "+-----------------------+",
        "+--------------------------------+", "| N - Name To IP Address Table   |",
        "| C - Available UNIX Commands    |", "| E - UNIX Environment Variables |",
        "| ? - On-Line Documentation      |", "| G - General Information        |",
        "| ------------------------------ |", "| X - Exit Configuration Program |",
        "|                                |", "+--------------------------------+"};
    std::vector<std::string> want(24, std::string(80, ' '));
    for (int i = 0; i < 14; i++)
        want[i < 4 ? 1 + i : 5 + i].replace(i < 4 ? 27 : 23, drawn[i].size(), drawn[i]);
    for (int row = 0; row < 24; row++)
        EXPECT_EQ(harness_row_plain(h, row), want[row]) << row;
    EXPECT_EQ(harness_row(h, 15).find('-'), std::string::npos) << "separator of line pieces";
    for (int column = 28; column <= 50; column++)
        EXPECT_EQ(harness_reverse(h, 3, column), column > 28 && column < 50) << column;
    EXPECT_EQ(highlighted(h), std::vector<int>{0});
    EXPECT_FALSE(harness_cursor_visible(h));

    // Wrapping at both ends and skipping the separator; F10, Ctrl-Right and
    // F11 mean nothing here, and the application-mode arrows still move.
    const std::pair<const char *, int> moves[] = {
        {"\033[A", 6},    {"\033[A", 4},   {"\033[B", 6}, {"\033[B", 0}, {"\033[21~", 0},
        {"\033[1;5C", 0}, {"\033[23~", 0}, {"\033OB", 1}, {"\033OA", 0}};
    for (const auto &[key, item] : moves) {
        harness_send(h, key);
        harness_wait_idle(h);
        EXPECT_EQ(highlighted(h), std::vector<int>{item}) << key + 1 << " to " << item;
    }
    EXPECT_EQ(harness_bells(h), 3) << "each unbound key rings once";

    harness_type(h, "G");
    ASSERT_TRUE(harness_wait_text(h, "Press any key to continue:", 10000));
    EXPECT_EQ(harness_screen(h).find("Configuration Program"), std::string::npos) << "menu hidden";
    EXPECT_EQ(harness_row_plain(h, 14).substr(22, 35), "Version : 03.00.00                 ");
    harness_key(h, "Esc");
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT, 10000));
    EXPECT_EQ(highlighted(h), std::vector<int>{4});

    harness_type(h, "X");
    EXPECT_EQ(harness_wait_exit(h, 30000), 0) << harness_output(h);
    EXPECT_EQ(harness_screen(h).find_first_not_of(" \n"), std::string::npos) << "screen cleared";
    EXPECT_TRUE(harness_cursor_visible(h));
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}

TEST(AppMenu, HangupEndsTheProgramPromptly) {
    // With SIGHUP ignored, as under nohup: the lost terminal itself must end it.
    HarnessOptions o;
    o.program = "/bin/sh";
    std::string command = "trap '' HUP; exec";
    for (const std::string &word : harness_command())
        command += " " + word;
    o.args = {"-c", command};
    Harness *h = start_at_menu(o);
    ASSERT_NE(h, nullptr);
    harness_hangup(h);
    EXPECT_EQ(harness_wait_exit(h, 1000), 255);
    harness_stop(h);
}

TEST(AppMenu, AbTailLastAndNoNameServiceModules) {
    std::string root = harness_new_root();
    std::ofstream(root + "/termdef", std::ios::app) << "abterm|with a tail:Ab:tc=xterm:\n";
    Harness *h = start_at_menu({.env = {"TERM=abterm"}, .root = root});
    ASSERT_NE(h, nullptr);
    // root is in /etc/passwd: found there, without name-service modules.
    std::ifstream maps("/proc/" + std::to_string(harness_pid(h)) + "/maps");
    for (std::string line; std::getline(maps, line);)
        EXPECT_EQ(line.find("/libnss_"), std::string::npos) << line;
    harness_type(h, "X");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_TRUE(harness_output(h).ends_with("\033[=1;14C"));
    harness_stop(h);
}

// Across the families: the boxes in each terminal's own character set (as
// bytes: the harness reads the screen as neither code page 437 nor UTF-8),
// and the Down arrow as that terminal sends it.
TEST(AppMenu, DrawsAndMovesOnEveryFamily) {
    const std::string vt100 = "lqqqqq", utf8 = "\xe2\x94\x8c\xe2\x94\x80", cp437 = "\xda\xc4\xc4",
                      ascii = "+-----";
    const struct {
        const char *term;
        std::string down, box;
    } cases[] = {
        {"TERM=screen.linux", "\033[B", vt100},
        {"TERM=tmux-direct", "\033[B", vt100},
        {"TERM=vt320", "\033[B", vt100},
        {"TERM=xterm-color", "\033[B", vt100},
        {"TERM=wezterm", "\033[B", vt100},
        {"TERM=rxvt-unicode", "\033[B", vt100},
        {"TERM=hurd", "\033OB", vt100},
        {"TERM=ansi", "\033[B", cp437},
        {"TERM=cons25", "\033[B", cp437},
        {"TERM=mach-gnu", "\033[B", cp437},
        {"TERM=linux", "\033[B", utf8},
        {"TERM=putty", "\033[B", utf8},
        {"TERM=sun", "\033[B", ascii},
        // Not described: taken as its family, xterm-256color.
        {"AVTERM=xterm-256color-italic", "\033[B", vt100},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.term);
        Harness *h = start_at_menu({.env = {c.term}});
        ASSERT_NE(h, nullptr);
        const std::string &out = harness_output(h);
        EXPECT_NE(out.find(c.box), std::string::npos);
        for (const std::string &other : {vt100, utf8, cp437, ascii})
            EXPECT_TRUE(other == c.box || out.find(other) == std::string::npos) << other;
        harness_send(h, c.down);
        harness_wait_idle(h);
        EXPECT_EQ(highlighted(h), std::vector<int>{1});
        EXPECT_EQ(harness_bells(h), 0);
        quit(h);
    }
}
