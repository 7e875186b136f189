// Window ids, line merging, and the bytes a refresh sends under the readable
// terminal of data/termdef (cm=<row,column>, rev=[R], norm=[N], GS={, GE=}).
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "term/term.h"
#include "test_util.h"
#include "win/win_internal.h"

namespace {

// Loads terminal `name` and blanks image and terminal, as start-up does.
void start_screen(const char *name = "test") {
    unsetenv("AVTERM");
    unsetenv("QXTERM");
    setenv("AVTERMCAP", AV_TEST_DATA_DIR "/termdef", 1);
    setenv("TERM", name, 1);
    TermState state{};
    ASSERT_EQ(term_init(0, &state), 0) << name;
    term_screen_strings();
    capture_stdout([] { term_blank_screen(); });
}

std::string row_text(int id, int row) {
    Window *w = win_lookup(id);
    std::string s;
    for (int x = 0; x < w->columns; x++)
        s += static_cast<char>(w->cells[row * w->columns + x].character);
    return s;
}

std::string refresh(int id) {
    return capture_stdout([&] { win_refresh(id, 0, 0, -1, -1); });
}

std::string show(int id) {
    return capture_stdout([&] { win_show(id); });
}

TEST(WinIds, QueueFullTableAndFailedCreations) {
    start_screen();
    EXPECT_EQ(win_create(-1, "a", 0, 0, 2, 2), 1);
    EXPECT_EQ(win_destroy(1), 0);
    for (int expected = 2; expected < WIN_MAX_IDS; expected++)
        ASSERT_EQ(win_create(-1, "b", 0, 0, 1, 1), expected) << "a given-back id waits its turn";
    EXPECT_EQ(win_create(-1, "c", 0, 0, 1, 1), 1);
    EXPECT_EQ(win_create(-1, "full", 0, 0, 1, 1), -1);
    EXPECT_EQ(win_destroy(50), 0);
    const int bad[][5] = {{-1, 0, 0, 0, 5},
                          {-2, 0, 0, 1, 1},
                          {100, 0, 0, 1, 1},
                          {-1, 24, 0, -1, 5},
                          {50, 0, 0, 1, 1}}; // the id about to be handed out is no parent yet
    for (const auto &b : bad)
        EXPECT_EQ(win_create(b[0], "bad", b[1], b[2], b[3], b[4]), -1) << b[0] << " " << b[1];
    EXPECT_EQ(win_create(-1, "again", 0, 0, 1, 1), 50) << "failed creations gave the id back";
    EXPECT_EQ(win_create(-1, "full", 0, 0, 1, 1), -1) << "and took no other";
}

TEST(WinDraw, LinePiecesMergeIntoTeesAndCrosses) {
    start_screen();
    int w = win_create(-1, "draw", 0, 0, 4, 7);
    win_box(w, 0, 0, 0, -1, -1);
    win_hline(w, 1, 1, 2, 0, -1);
    win_vline(w, 1, 1, 0, 3, -1);
    const char *picture[] = {"7--8--9", "|  |  |", "4--5--6", "1--2--3"};
    for (int y = 0; y < 4; y++)
        EXPECT_EQ(row_text(w, y), picture[y]) << "row " << y;
    win_hline(w, 0, 0, 1, 0, 3);
    EXPECT_EQ(row_text(w, 1), "---|  |") << "without merge the piece replaces the joins";
}

TEST(WinSend, BoxedTextAndSingleChanges) {
    start_screen();
    int w = win_create(-1, "box", 2, 3, 3, 7);
    win_box(w, 0, 0, 0, -1, -1);
    win_puts(w, 1, 1, "abcde", 1);
    EXPECT_EQ(show(w), "<2,3>{a-----b}<3,3>{!}[R]abcde[N]{!}<4,3>{c-----d}");
    EXPECT_EQ(refresh(w), "") << "unchanged content sends nothing";
    win_puts(w, 1, 3, "x", 0);
    EXPECT_EQ(refresh(w), "<3,6>x");
    // C0, DEL and C1 bytes of text never reach the terminal; Latin-1 does.
    EXPECT_EQ(win_puts(w, 1, 1, "\x1b\x07\x9b\x7f\xa0", 0), 5);
    EXPECT_EQ(refresh(w), "<3,4>????\xa0");
}

// The terminal's auto-margin answer is read once per process, so one test each.
std::string bottom_row(const char *terminal) {
    start_screen(terminal);
    int w = win_create(-1, "w", 0, 0, -1, -1);
    win_puts(w, 23, 0, "ab", 0);
    win_puts(w, 23, 78, "yz", 0);
    return show(w);
}

TEST(WinSend, BottomRightCellWithheldUnderAutoMargin) {
    EXPECT_EQ(bottom_row("test"), "<23,0>ab<23,78>y<23,78><23,79>");
}

TEST(WinSend, BottomRightCellSentWithoutAutoMargin) {
    EXPECT_EQ(bottom_row("test-am0"), "<23,0>ab<23,78>yz");
}

TEST(WinSend, LongRunsKeepTheirOrder) {
    start_screen("test-long");
    const std::string norm = "[" + std::string(100, 'N') + "]";
    const std::string rev = "[" + std::string(100, 'R') + "]";
    int w = win_create(-1, "w", 0, 0, 1, 80);
    std::string expected = "<0,0>x";
    for (int x = 0; x < 80; x++)
        win_puts(w, 0, x, "x", x % 2);
    for (int x = 1; x < 80; x++)
        expected += (x % 2 ? rev : norm) + "x";
    ASSERT_GT(expected.size(), 4096u);
    EXPECT_EQ(show(w), expected + norm);
}

TEST(WinStack, LaterSiblingWinsWhicheverIsRefreshed) {
    start_screen();
    int a = win_create(-1, "a", 0, 0, 3, 6);
    int b = win_create(-1, "b", 1, 3, 3, 6);
    for (int y = 0; y < 3; y++) {
        win_puts(a, y, 0, "aaaaaa", 0);
        win_puts(b, y, 0, "bbbbbb", 0);
    }
    show(b);
    EXPECT_EQ(show(a), "<0,0>aaaaaa<1,0>aaa<2,0>aaa");
    win_puts(a, 1, 4, "A", 0);
    EXPECT_EQ(refresh(a), "") << "the change under b stays hidden";
    win_puts(b, 1, 0, "B", 0);
    EXPECT_EQ(refresh(b), "<2,3>B");
    EXPECT_EQ(capture_stdout([&] { win_hide(b); }), "<1,3>aAa   <2,3>aaa   <3,3>      ");
}

TEST(WinStack, ChildrenAreCutAtTheParentAndDestroyedWithIt) {
    start_screen();
    int under = win_create(-1, "under", 0, 0, 4, 8);
    for (int y = 0; y < 4; y++)
        win_puts(under, y, 0, "uuuuuuuu", 0);
    show(under);
    int over = win_create(-1, "over", 1, 2, 2, 8);
    win_puts(over, 0, 0, "uuuxuuuuuuuuuuuu", 0); // mostly what lies beneath
    int child = win_create(over, "child", 1, 6, 1, 4);
    win_puts(child, 0, 0, "kkkk", 0);
    EXPECT_EQ(show(child), "") << "its parent is still hidden";
    EXPECT_EQ(show(over), "<1,5>x<1,8>uu<2,8>kk");
    EXPECT_EQ(capture_stdout([&] { win_destroy(over); }), "<1,5>u<1,8>  <2,8>  ");
    EXPECT_EQ(win_lookup(child), nullptr);
}

TEST(WinScreen, OutputSwitchAndRepaint) {
    start_screen();
    int w = win_create(-1, "w", 0, 0, 2, 10);
    win_puts(w, 0, 0, "ab", 0);
    win_puts(w, 0, 3, "r", 1);
    show(w);
    EXPECT_EQ(capture_stdout([] { term_screen_state(0); }), "[CL]");
    win_puts(w, 1, 0, "cd", 0);
    EXPECT_EQ(refresh(w), "") << "output is off";
    EXPECT_EQ(capture_stdout([] { term_screen_state(1); }), "<0,0>ab<0,3>[R]r[N]<1,0>cd");
    EXPECT_EQ(capture_stdout([] { term_repaint(); }), "[CL]<0,0>ab<0,3>[R]r[N]<1,0>cd");
}

} // namespace
