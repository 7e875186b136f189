// The main menu, the information screen and the way out, through a terminal.
#include "harness.h"

#include <gtest/gtest.h>

#include <csignal>
#include <fstream>
#include <unistd.h>

static const char *const EXIT_ITEM = "X - Exit Configuration Program";

// The items drawn in reverse video (the texts start at row 10, column 25).
static std::vector<int> highlighted(Harness *h) {
    std::vector<int> items;
    for (int i = 0; i < 7; i++)
        if (harness_reverse(h, 10 + i, 25))
            items.push_back(i);
    return items;
}

// One session, under valgrind when the build allows it.
TEST(AppMenu, SessionDrawsMovesShowsInformationAndExits) {
    HarnessOptions o;
#ifndef AV_SANITIZED // valgrind cannot run a sanitized binary
    if (access("/usr/bin/valgrind", X_OK) == 0) {
        o.program = "/usr/bin/valgrind";
        o.args = {"-q", "--leak-check=full", "--error-exitcode=99", AV_BINARY};
    }
#endif
    Harness *h = harness_start(o);
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, EXIT_ITEM, 30000)) << harness_screen(h);
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

    // Wrapping at both ends and skipping the separator; F10 is not bound.
    const std::pair<const char *, int> moves[] = {
        {"Up", 6}, {"Up", 4}, {"Down", 6}, {"Down", 0}, {"F10", 0}};
    for (const auto &[key, item] : moves) {
        harness_key(h, key);
        harness_wait_idle(h);
        EXPECT_EQ(highlighted(h), std::vector<int>{item}) << key << " to " << item;
    }
    EXPECT_EQ(harness_bells(h), 1) << "only the unbound key rings";

    harness_type(h, "G");
    ASSERT_TRUE(harness_wait_text(h, "Press any key to continue:", 10000));
    EXPECT_EQ(harness_screen(h).find("Configuration Program"), std::string::npos) << "menu hidden";
    EXPECT_EQ(harness_row_plain(h, 14).substr(22, 35), "Version : 03.00.00                 ");
    harness_key(h, "Esc");
    ASSERT_TRUE(harness_wait_text(h, EXIT_ITEM, 10000));
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
    o.args = {"-c", "trap '' HUP; exec " AV_BINARY};
    Harness *h = harness_start(o);
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, EXIT_ITEM, 30000)) << harness_screen(h);
    harness_hangup(h);
    EXPECT_EQ(harness_wait_exit(h, 1000), 255);
    harness_stop(h);
}

TEST(AppMenu, AbTailIsTheVeryLastOutput) {
    std::string root = harness_new_root();
    std::ofstream(root + "/termdef", std::ios::app) << "abterm|with a tail:Ab:tc=xterm:\n";
    Harness *h = harness_start({.env = {"TERM=abterm"}, .root = root});
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, EXIT_ITEM, 30000));
    harness_type(h, "X");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_TRUE(harness_output(h).ends_with("\033[=1;14C"));
    harness_stop(h);
}
