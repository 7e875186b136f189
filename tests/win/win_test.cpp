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
    ASSERT_EQ(term_init(TERM_KEEP_MODE, &state), 0) << name;
    term_screen_strings();
    term_set_utf8_locale(0); // whatever the environment says
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

// A creation refused for its parent or its size still takes its id from the
// queue and gives it back at the end, so the next window gets the id after it.
TEST(WinIds, RefusedCreationsUseUpTheirId) {
    enum Parent { TOP, BAD_ID, OUT_OF_RANGE, ITSELF, FIRST, SECOND };
    struct Step {
        Parent parent;
        int rows;
        int offset; // from the first id of the case; -1 for a refusal
    };
    const struct {
        const char *name;
        Step steps[3];
    } cases[] = {
        {"unknown parent", {{TOP, 1, 0}, {BAD_ID, 1, -1}, {TOP, 1, 2}}},
        {"parent out of range", {{TOP, 1, 0}, {OUT_OF_RANGE, 1, -1}, {FIRST, 1, 2}}},
        {"its own parent", {{TOP, 1, 0}, {ITSELF, 1, -1}, {TOP, 1, 2}}},
        {"no rows", {{TOP, 1, 0}, {FIRST, 0, -1}, {FIRST, 1, 2}}},
        {"child of a child", {{TOP, 2, 0}, {FIRST, 1, 1}, {SECOND, 1, 2}}},
    };
    start_screen();
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        int first = win_create(-1, "probe", 0, 0, 1, 1);
        ASSERT_GT(first, 0);
        win_destroy(first); // goes to the end of the queue: the ids run on
        first++;
        int made[3] = {-1, -1, -1};
        for (int i = 0; i < 3; i++) {
            const Step &s = c.steps[i];
            int parent = s.parent == TOP            ? -1
                         : s.parent == BAD_ID       ? 98
                         : s.parent == OUT_OF_RANGE ? 100
                         : s.parent == ITSELF       ? first + i
                         : s.parent == FIRST        ? made[0]
                                                    : made[1];
            made[i] = win_create(parent, "w", 0, 0, s.rows, 1);
            EXPECT_EQ(made[i], s.offset < 0 ? -1 : first + s.offset) << "step " << i;
        }
        if (made[1] < 0) {
            EXPECT_EQ(win_lookup(first + 1), nullptr) << "the refused id is free again";
        }
        win_destroy(made[0]);
        win_destroy(made[2]);
    }
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
}

TEST(WinSend, HostileAndHighBytesShowAsQuestionMarks) {
    const struct {
        int utf8;
        const char *text;
        const char *sent;
    } cases[] = {
        // C0, DEL and C1 never reach the terminal; Latin-1 does outside UTF-8.
        {0, "\x1b\x07\x9b\x7f\xa0\xff", "<0,0>????\xa0\xff"},
        {0, "a\x80\x9f\xa0z", "<0,0>a??\xa0z"},
        // On a UTF-8 terminal every byte from 0x80 up is one "?", valid
        // sequences included: each cell moves the cursor exactly one column.
        {1, "\x1b\x07\x9b\x7f\xa0\xff", "<0,0>??????"},
        {1, "caf\xc3\xa9.", "<0,0>caf??."},
        {1, "plain~", "<0,0>plain~"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.text);
        start_screen();
        term_set_utf8_locale(c.utf8);
        int w = win_create(-1, "w", 0, 0, 1, 10);
        win_puts(w, 0, 0, c.text, 0);
        EXPECT_EQ(show(w), c.sent);
        win_destroy(w);
    }
    term_set_utf8_locale(-1);
}

// A line cell is sent as the line-drawing string of its character: the join
// mask only chose that character when the line was drawn.
TEST(WinSend, LineCellsAreSentByTheirCharacter) {
    const struct {
        const char *name;
        void (*draw)(int w);
        const char *sent;
    } cases[] = {
        {"text over a line stays text",
         [](int w) {
             win_hline(w, 0, 0, 0, 0, -1);
             win_puts(w, 0, 1, "AB", ATTR_LINE);
         },
         "<0,0>{-}A{}B{---------}"},
        {"mask 0 keeps a corner's character",
         [](int w) {
             win_box(w, 0, 0, 0, 2, 2);
             win_line_cell(w, 0, 0, 0, 0);
         },
         "<0,0>{ab}<1,0>{cd}"},
        {"mask 0 over text",
         [](int w) {
             win_puts(w, 0, 2, "x", 0);
             win_line_cell(w, 0, 0, 2, 0);
         },
         "<0,2>{}x{}"},
        {"pattern aliases and digits written as text",
         [](int w) { win_puts(w, 0, 0, "0.123456789", ATTR_LINE); }, "<0,0>{-!cUdR+LaTb}"},
        {"attributes stay outside line mode",
         [](int w) { win_puts(w, 0, 0, "7q", ATTR_LINE | ATTR_REV); }, "<0,0>[R]{a}q{}[N]"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.name);
        start_screen();
        int w = win_create(-1, "w", 0, 0, 2, 12);
        c.draw(w);
        EXPECT_EQ(show(w), c.sent);
        win_destroy(w);
    }
}

TEST(WinSend, LineStringsWithHighBytesPassInAnyLocale) {
    for (int utf8 : {0, 1}) {
        start_screen("test-437");
        term_set_utf8_locale(utf8);
        int w = win_create(-1, "w", 0, 0, 2, 3);
        win_box(w, 0, 0, 0, -1, -1);
        EXPECT_EQ(show(w), "<0,0>\xda\xc4\xbf<1,0>\xc0\xc4\xd9") << utf8;
        win_destroy(w);
    }
    term_set_utf8_locale(-1);
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
