// The main menu, the information screen and the way out, through a terminal.
#include "harness.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <csignal>
#include <unistd.h>

namespace {

// Screen position of the menu window and of its item texts.
constexpr int MENU_ROW = 9;
constexpr int MENU_COLUMN = 23;
constexpr int ITEM_COLUMN = MENU_COLUMN + 2;

const char *const items[] = {
    "N - Name To IP Address Table  ", "C - Available UNIX Commands   ",
    "E - UNIX Environment Variables", "? - On-Line Documentation     ",
    "G - General Information       ", "------------------------------",
    "X - Exit Configuration Program",
};

Harness *start_menu(HarnessOptions o = HarnessOptions()) {
    Harness *h = harness_start(o);
    if (h == nullptr)
        return nullptr;
    if (!harness_wait_text(h, "X - Exit Configuration Program")) {
        ADD_FAILURE() << "menu not shown:\n" << harness_screen(h);
        harness_stop(h);
        return nullptr;
    }
    harness_wait_quiet(h);
    return h;
}

// A one-character name is typed as is, anything longer is a named key.
void press(Harness *h, const std::string &key) {
    if (key.size() == 1)
        harness_send(h, key);
    else
        harness_key(h, key);
}

// The items drawn in reverse video (checked at both ends of the text).
std::vector<int> highlighted(Harness *h) {
    std::vector<int> rows;
    for (int i = 0; i < 7; i++)
        if (harness_reverse(h, MENU_ROW + 1 + i, ITEM_COLUMN) ||
            harness_reverse(h, MENU_ROW + 1 + i, ITEM_COLUMN + 29))
            rows.push_back(i);
    return rows;
}

TEST(AppMenu, DrawsTitleFrameItemsAndHighlight) {
    Harness *h = start_menu();
    ASSERT_NE(h, nullptr);
    std::string blank(80, ' ');
    EXPECT_EQ(harness_row_plain(h, 0), blank);
    EXPECT_EQ(harness_row_plain(h, 1),
              std::string(27, ' ') + "+-----------------------+" + std::string(28, ' '));
    EXPECT_EQ(harness_row_plain(h, 2).substr(27, 25), "| Ardovane PC Conduvia  |");
    EXPECT_EQ(harness_row_plain(h, 3).substr(27, 25), "| Configuration Program |");
    EXPECT_EQ(harness_row_plain(h, 4).substr(27, 25), "+-----------------------+");
    for (int col = 29; col < 50; col++)
        EXPECT_TRUE(harness_reverse(h, 3, col)) << col;
    EXPECT_FALSE(harness_reverse(h, 3, 28));
    EXPECT_FALSE(harness_reverse(h, 3, 50));
    EXPECT_FALSE(harness_reverse(h, 2, 29));
    for (int row = 5; row < MENU_ROW; row++)
        EXPECT_EQ(harness_row_plain(h, row), blank) << row;

    std::string frame = "+" + std::string(32, '-') + "+";
    EXPECT_EQ(harness_row_plain(h, MENU_ROW).substr(MENU_COLUMN, 34), frame);
    for (int i = 0; i < 7; i++) {
        std::string row = harness_row_plain(h, MENU_ROW + 1 + i);
        EXPECT_EQ(row.substr(MENU_COLUMN, 34), std::string("| ") + items[i] + " |") << i;
    }
    // One empty row inside the frame below the X item.
    EXPECT_EQ(harness_row_plain(h, MENU_ROW + 8).substr(MENU_COLUMN, 34),
              "|" + std::string(32, ' ') + "|");
    EXPECT_EQ(harness_row_plain(h, MENU_ROW + 9).substr(MENU_COLUMN, 34), frame);
    for (int row = MENU_ROW + 10; row < 24; row++)
        EXPECT_EQ(harness_row_plain(h, row), blank) << row;

    // The separator is made of line pieces, not of minus signs.
    std::string separator = harness_row(h, MENU_ROW + 6);
    EXPECT_EQ(separator.find('-'), std::string::npos) << separator;
    EXPECT_NE(separator.find("\u2500\u2500"), std::string::npos) << separator;
    EXPECT_EQ(highlighted(h), std::vector<int>{0});
    EXPECT_FALSE(harness_cursor_visible(h));
    EXPECT_EQ(harness_cursor(h), std::make_pair(MENU_ROW + 7, MENU_COLUMN + 32));
    EXPECT_EQ(harness_bells(h), 0);
    harness_stop(h);
}

TEST(AppMenu, HighlightMovesWrapsAndSkipsTheSeparator) {
    struct Case {
        std::vector<std::string> keys;
        int item;
    };
    const Case cases[] = {
        {{"Up"}, 6},
        {{"Up", "Down"}, 0},
        {{"Up", "Up"}, 4},
        {{"Down", "Down", "Down", "Down"}, 4},
        {{"Down", "Down", "Down", "Down", "Down"}, 6},
        {{"End"}, 6},
        {{"End", "Home"}, 0},
        {{"Down", "Down", "Home"}, 0},
        {{"End", "Down"}, 0},
        {{" "}, 1},
        {{"End", " "}, 0},
        {{"Down", "Down", "Down", "Down", "Down", "Up"}, 4},
    };
    HarnessOptions o;
    o.key_pause_ms = 60;
    Harness *h = start_menu(o);
    ASSERT_NE(h, nullptr);
    for (const Case &c : cases) {
        harness_key(h, "Home");
        std::string trace;
        for (const std::string &k : c.keys) {
            press(h, k);
            trace += k + ",";
        }
        harness_wait_quiet(h, 80);
        EXPECT_EQ(highlighted(h), std::vector<int>{c.item}) << trace;
    }
    // Moving never rings, and every item text is intact afterwards.
    EXPECT_EQ(harness_bells(h), 0);
    for (int i = 0; i < 7; i++)
        EXPECT_EQ(harness_row_plain(h, MENU_ROW + 1 + i).substr(ITEM_COLUMN, 30), items[i]);
    harness_stop(h);
}

TEST(AppMenu, UnboundKeysRingAndChangeNothing) {
    HarnessOptions o;
    o.key_pause_ms = 60;
    Harness *h = start_menu(o);
    ASSERT_NE(h, nullptr);
    harness_key(h, "Down");
    harness_wait_quiet(h);
    std::string before = harness_screen(h);
    const std::vector<std::string> keys = {"Z", "q", "1", "F1", "F10", "Left", "PgDn", "Tab"};
    int bells = harness_bells(h);
    for (const std::string &k : keys) {
        press(h, k);
        harness_wait_quiet(h, 80);
        EXPECT_EQ(harness_bells(h), ++bells) << k;
        EXPECT_EQ(harness_screen(h), before) << k;
    }
    harness_stop(h);
}

TEST(AppMenu, RepaintRedrawsTheSameScreen) {
    Harness *h = start_menu();
    ASSERT_NE(h, nullptr);
    harness_key(h, "Down");
    harness_wait_quiet(h);
    std::string before = harness_screen(h);
    for (const char *k : {"Ctrl-L", "Ctrl-R"}) {
        harness_key(h, k);
        harness_wait_quiet(h);
        EXPECT_EQ(harness_screen(h), before) << k;
        EXPECT_EQ(highlighted(h), std::vector<int>{1}) << k;
    }
    EXPECT_EQ(harness_bells(h), 0);
    harness_stop(h);
}

// Text of one row of the information window, inside its frame.
std::string info_text(Harness *h, int window_row) {
    return harness_row_plain(h, 3 + window_row).substr(22, 35);
}

TEST(AppMenu, InformationScreenHidesTheMenuAndReturnsToG) {
    const char *const closing_keys[] = {"Esc", "F1", "x", "Enter"};
    Harness *h = start_menu();
    ASSERT_NE(h, nullptr);
    for (const char *key : closing_keys) {
        harness_key(h, "Home");
        harness_send(h, "g");
        ASSERT_TRUE(harness_wait_text(h, "Press any key to continue:")) << key;
        harness_wait_quiet(h);
        std::string screen = harness_screen(h);
        EXPECT_EQ(screen.find("Configuration Program"), std::string::npos) << screen;
        EXPECT_EQ(screen.find("Exit Configuration"), std::string::npos) << screen;

        EXPECT_EQ(harness_row_plain(h, 3).substr(20, 39), "+" + std::string(37, '-') + "+");
        EXPECT_EQ(info_text(h, 1), "       Ardovane PC Conduvia        ");
        EXPECT_TRUE(harness_reverse(h, 4, 22));
        EXPECT_TRUE(harness_reverse(h, 5, 22));
        EXPECT_FALSE(harness_reverse(h, 7, 22));
        for (int row : {3, 10, 12})
            EXPECT_EQ(harness_row_plain(h, 3 + row).substr(20, 39),
                      "+" + std::string(37, '-') + "+")
                << row;
        EXPECT_EQ(info_text(h, 7), std::string(35, ' '));
        // The maker's lines: words centred, an odd blank on the right.
        for (int row : {2, 4, 5, 6, 8, 9}) {
            std::string t = info_text(h, row);
            size_t first = t.find_first_not_of(' ');
            ASSERT_NE(first, std::string::npos) << row;
            size_t trailing = 34 - t.find_last_not_of(' ');
            EXPECT_TRUE(trailing == first || trailing == first + 1) << row << ": '" << t << "'";
        }
        EXPECT_EQ(info_text(h, 11), "Version : 03.00.00                 ");
        EXPECT_EQ(info_text(h, 13), "    Press any key to continue:     ");
        EXPECT_EQ(harness_row_plain(h, 17).substr(20, 39), "+" + std::string(37, '-') + "+");
        EXPECT_TRUE(harness_cursor_visible(h));
        EXPECT_EQ(harness_cursor(h), std::make_pair(16, 53));

        int bells = harness_bells(h);
        press(h, key);
        ASSERT_TRUE(harness_wait_text(h, "X - Exit Configuration Program")) << key;
        harness_wait_quiet(h);
        screen = harness_screen(h);
        EXPECT_EQ(screen.find("Press any key"), std::string::npos) << key;
        EXPECT_NE(screen.find("Configuration Program"), std::string::npos) << key;
        EXPECT_EQ(highlighted(h), std::vector<int>{4}) << key;
        EXPECT_FALSE(harness_cursor_visible(h)) << key;
        EXPECT_EQ(harness_bells(h), bells) << key;
    }
    EXPECT_EQ(harness_wait_exit(h, 300), -1); // "x" closed the window, not the program
    harness_stop(h);
}

TEST(AppMenu, ExitRestoresTheTerminal) {
    const std::vector<std::vector<std::string>> ways = {
        {"X"}, {"x"}, {"End", "Enter"}, {"Up", "Enter"}, {"Down", "G", "Esc", "Down", "Enter"},
    };
    for (const auto &keys : ways) {
        Harness *h = start_menu();
        ASSERT_NE(h, nullptr);
        for (const std::string &k : keys) {
            press(h, k);
        }
        EXPECT_EQ(harness_wait_exit(h), 0) << keys[0];
        harness_wait_quiet(h, 50);
        bool blank = true;
        for (int row = 0; row < 24; row++)
            blank = blank && harness_row(h, row) == std::string(80, ' ');
        EXPECT_TRUE(blank) << harness_screen(h);
        EXPECT_TRUE(harness_cursor_visible(h));
        EXPECT_TRUE(harness_mode_unchanged(h));
        harness_stop(h);
    }
}

TEST(AppMenu, EnterRunsTheHighlightedItem) {
    // Enter on G opens the information screen as "G" would.
    Harness *h = start_menu();
    ASSERT_NE(h, nullptr);
    for (int i = 0; i < 4; i++)
        harness_key(h, "Down");
    harness_key(h, "Enter");
    EXPECT_TRUE(harness_wait_text(h, "Press any key to continue:"));
    harness_stop(h);
}

TEST(AppMenu, HangupEndsTheProgramPromptly) {
    struct Case {
        bool ignore_hup; // started with SIGHUP ignored, as under nohup
        int status;
    };
    const Case cases[] = {{false, 128 + SIGHUP}, {true, 255}};
    for (const Case &c : cases) {
        HarnessOptions o;
        if (c.ignore_hup) {
            o.program = "/bin/sh";
            o.args = {"-c", "trap '' HUP; exec " AV_BINARY};
        }
        Harness *h = start_menu(o);
        ASSERT_NE(h, nullptr);
        harness_hangup(h);
        EXPECT_EQ(harness_wait_exit(h, 1000), c.status) << c.ignore_hup;
        harness_stop(h);
    }
}

TEST(AppMenu, AbTerminalGetsItsTailLast) {
    std::string root = harness_new_root();
    std::stringstream shipped;
    shipped << std::ifstream(std::string(AV_SOURCE_DIR) + "/data/termdef").rdbuf();
    std::ofstream(root + "/termdef") << "abterm|terminal that wants a tail:Ab:tc=xterm:\n"
                                     << shipped.str();
    HarnessOptions o;
    o.root = root;
    o.env = {"TERM=abterm"};
    Harness *h = start_menu(o);
    ASSERT_NE(h, nullptr);
    harness_send(h, "X");
    EXPECT_EQ(harness_wait_exit(h), 0);
    const std::string &out = harness_output(h);
    const std::string tail = "\033[=1;14C";
    ASSERT_GE(out.size(), tail.size());
    EXPECT_EQ(out.substr(out.size() - tail.size()), tail);
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}

TEST(AppMenu, SessionUnderValgrindHasNoLeakOrError) {
#ifdef AV_SANITIZED
    GTEST_SKIP() << "valgrind cannot run a sanitized build";
#else
    if (access("/usr/bin/valgrind", X_OK) != 0)
        GTEST_SKIP() << "valgrind is not installed";
    HarnessOptions o;
    o.program = "/usr/bin/valgrind";
    o.args = {"-q", "--leak-check=full", "--error-exitcode=99", AV_BINARY};
    o.key_pause_ms = 400;
    Harness *h = harness_start(o);
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, "X - Exit Configuration Program", 30000));
    harness_wait_quiet(h, 300);
    harness_send(h, "G");
    ASSERT_TRUE(harness_wait_text(h, "Press any key to continue:", 10000));
    harness_key(h, "Esc");
    ASSERT_TRUE(harness_wait_text(h, "X - Exit Configuration Program", 10000));
    harness_wait_quiet(h, 300);
    harness_send(h, "X");
    EXPECT_EQ(harness_wait_exit(h, 30000), 0) << harness_output(h);
    harness_stop(h);
#endif
}

} // namespace
