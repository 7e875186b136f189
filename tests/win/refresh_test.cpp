// What the refresh sends, as byte streams under the readable test terminal
// of data/termdef (cm=<row,column>, norm=[N], rev=[R], GS={, GE=}), and how
// stacking, hiding, destroying and the output switch decide it.
#include "win_test_util.h"

#include <functional>

namespace {

std::string refresh(int id) {
    return sent([&] { win_refresh(id, 0, 0, -1, -1); });
}

TEST(WinSend, RunsOfChangedCells) {
    struct Case {
        std::function<void(int)> draw; // into a shown 3 by 6 window at (5, 10)
        const char *bytes;
    } const cases[] = {
        {[](int w) { win_puts(w, 1, 2, "x", 0); }, "<6,12>x"},
        {[](int w) { win_puts(w, 0, 0, "abcde", 1); }, "<5,10>[R]abcde[N]"},
        {[](int w) {
             win_puts(w, 0, 0, "a", 0);
             win_puts(w, 0, 4, "b", 0);
             win_puts(w, 2, 1, "c", 0);
         },
         "<5,10>a<5,14>b<7,11>c"},
        {[](int w) {
             win_puts(w, 0, 0, "ab", 1);
             win_puts(w, -1, -1, "cd", ATTR_BOLD | ATTR_REV);
             win_puts(w, -1, -1, "e", ATTR_UND);
             win_puts(w, -1, -1, "f", 0);
         },
         "<5,10>[R]ab[BR]cd[U]e[N]f"},
        // No string for bold blink: the text goes without one.
        {[](int w) { win_puts(w, 0, 0, "ab", ATTR_BOLD | ATTR_BLINK); }, "<5,10>ab[N]"},
        {[](int w) {
             win_puts(w, 0, 0, "a", 0);
             win_put_lines(w, 0, 0, 1, "-");
             win_puts(w, 0, 2, "b", 1);
             win_put_lines(w, 0, 0, 3, "7");
         },
         "<5,10>a{-}[R]b[N]{a}"},
        // A line cell whose character names no piece is printed outside
        // line mode; '0', '.' and the digits map to their strings.
        {[](int w) {
             win_puts(w, 0, 0, "-q.0", 0);
             for (int x = 0; x < 4; x++)
                 win_line_cell(w, 0, 0, x, 0);
             win_put_lines(w, 0, 0, 4, "5");
             win_put_lines(w, 0, 1, 0, "12346");
         },
         "<5,10>{-}q{!-+}<6,10>{cUdRL}"},
    };
    start_screen();
    for (const Case &c : cases) {
        int w = win_create(-1, "w", 5, 10, 3, 6);
        sent([&] { win_show(w); });
        c.draw(w);
        EXPECT_EQ(refresh(w), c.bytes);
        EXPECT_EQ(refresh(w), "") << c.bytes << ": unchanged content sends nothing";
        sent([&] { win_destroy(w); });
    }
}

TEST(WinSend, BoxedWindowAndItsHiding) {
    start_screen();
    int w = win_create(-1, "box", 2, 3, 4, 5);
    win_box(w, 0, 0, 0, -1, -1);
    win_puts(w, 1, 1, "abc", 0);
    win_puts(w, 2, 1, "d", 0);
    win_puts(w, 2, 2, "ef", 1);
    EXPECT_EQ(sent([&] { win_show(w); }),
              "<2,3>{a---b}<3,3>{!}abc{!}<4,3>{!}d[R]ef[N]{!}<5,3>{c---d}");
    EXPECT_EQ(sent([&] { win_hide(w); }), "<2,3>     <3,3>     <4,3>     <5,3>     ");
}

TEST(WinSend, BottomRightCellWithheldUnderAutoMargin) {
    start_screen("test");
    int w = win_create(-1, "w", 0, 0, -1, -1);
    win_puts(w, 23, 0, "ab", 0);
    win_puts(w, 23, 78, "yz", 0);
    // The run that meets the guarded cell first still sends its motion (column
    // 79 is reached through column 78), then the row ends.
    EXPECT_EQ(sent([&] { win_show(w); }), "<23,0>ab<23,78>y<23,78><23,79>");
    EXPECT_EQ(cell_at(0, 23, 79).attribute, ATTR_CHANGED) << "the cell keeps its mark";
}

TEST(WinSend, BottomRightCellSentWithoutAutoMargin) {
    start_screen("test-am0");
    int w = win_create(-1, "w", 0, 0, -1, -1);
    win_puts(w, 23, 0, "ab", 0);
    win_puts(w, 23, 78, "yz", 0);
    EXPECT_EQ(sent([&] { win_show(w); }), "<23,0>ab<23,78>yz");
}

TEST(WinSend, LongRunsAreFlushedInOrder) {
    start_screen("test-long");
    const std::string norm = "[" + std::string(100, 'N') + "]";
    const std::string rev = "[" + std::string(100, 'R') + "]";
    int w = win_create(-1, "w", 0, 0, 1, 80);
    std::string expected = "<0,0>x";
    for (int x = 0; x < 80; x++)
        win_puts(w, 0, x, "x", x % 2);
    for (int x = 1; x < 80; x++)
        expected += (x % 2 ? rev : norm) + "x";
    expected += norm;
    ASSERT_GT(expected.size(), 4096u);
    EXPECT_EQ(sent([&] { win_show(w); }), expected);
}

TEST(WinSend, FallbacksWithoutLineDrawingOrAttributes) {
    start_screen("test-plain");
    int w = win_create(-1, "w", 0, 0, 3, 3);
    win_box(w, 0, 0, 0, -1, -1);
    win_puts(w, 1, 1, "r", 1);
    EXPECT_EQ(sent([&] { win_show(w); }), "<0,0>+-+<1,0>|r|<2,0>+-+");
}

TEST(WinStack, LaterSiblingWinsWhicheverIsRefreshed) {
    start_screen();
    int a = win_create(-1, "a", 0, 0, 3, 6);
    int b = win_create(-1, "b", 1, 3, 3, 6);
    for (int y = 0; y < 3; y++) {
        win_puts(a, y, 0, "aaaaaa", 0);
        win_puts(b, y, 0, "bbbbbb", 0);
    }
    sent([&] { win_show(b); });
    EXPECT_EQ(sent([&] { win_show(a); }), "<0,0>aaaaaa<1,0>aaa<2,0>aaa");
    win_puts(a, 1, 4, "A", 0);
    win_puts(a, 1, 0, "A", 0);
    EXPECT_EQ(refresh(a), "<1,0>A") << "the change under b stays hidden";
    win_puts(b, 1, 0, "B", 0);
    EXPECT_EQ(refresh(b), "<2,3>B");
    EXPECT_EQ(sent([&] { win_hide(b); }), "<1,3>aAa   <2,3>aaa   <3,3>      ");
}

TEST(WinStack, ChildrenAreCutAtTheParentAndHiddenWithIt) {
    start_screen();
    int parent = win_create(-1, "p", 2, 2, 3, 4);
    int child = win_create(parent, "c", 1, 2, 4, 6);
    for (int y = 0; y < 4; y++) {
        win_puts(parent, y, 0, "pppp", 0);
        win_puts(child, y, 0, "cccccc", 0);
    }
    EXPECT_EQ(sent([&] { win_show(child); }), "") << "its parent is still hidden";
    EXPECT_EQ(sent([&] { win_show(parent); }), "<2,2>pppp<3,2>ppcc<4,2>ppcc");
    EXPECT_EQ(refresh(child), "");
    EXPECT_EQ(sent([&] { win_hide(parent); }), "<2,2>    <3,2>    <4,2>    ");
    EXPECT_EQ(sent([&] { win_show(parent); }), "<2,2>pppp<3,2>ppcc<4,2>ppcc");
    EXPECT_EQ(win_refresh(42, 0, 0, -1, -1), -1);
    EXPECT_EQ(win_refresh(parent, 3, 0, -1, -1), -1);
    EXPECT_EQ(win_refresh(parent, 0, 0, 0, 3), -1);
    EXPECT_EQ(sent([&] { EXPECT_EQ(win_refresh(child, 0, 0, 1, 1), 0); }), "");
}

TEST(WinStack, DestroyRestoresWhatLiesBeneathAndSendsOnlyDifferences) {
    start_screen();
    int under = win_create(-1, "under", 0, 0, 4, 8);
    for (int y = 0; y < 4; y++)
        win_puts(under, y, 0, "uuuuuuuu", 0);
    sent([&] { win_show(under); });
    int over = win_create(-1, "over", 1, 2, 2, 8);
    win_puts(over, 0, 0, "uuuxuuuuuuuuuuuu", 0); // mostly what lies beneath
    win_puts(win_create(over, "child", 1, 1, 1, 2), 0, 0, "kk", 0);
    sent([&] { win_show(over); });
    EXPECT_EQ(sent([&] { win_show(3); }), "<2,3>kk");
    EXPECT_EQ(sent([&] { win_destroy(over); }), "<1,5>u<1,8>  <2,3>uu<2,8>  ");
    EXPECT_EQ(win_lookup(3), nullptr);
}

TEST(WinScreen, OutputSwitchRepaintAndBlanking) {
    start_screen();
    int w = win_create(-1, "w", 0, 0, 2, -1);
    int edge = win_create(w, "edge", 1, 78, 1, 5);
    win_puts(w, 0, 0, "ab", 0);
    win_puts(w, 0, 3, "r", 1);
    win_puts(edge, 0, 0, "edge", 0);
    sent([&] { win_show(w); });
    EXPECT_EQ(sent([] { EXPECT_EQ(term_screen_state(0), 0); }), "[CL]");
    EXPECT_EQ(sent([] { EXPECT_EQ(term_screen_state(0), 0); }), "");
    win_puts(w, 1, 0, "cd", 0);
    sent([&] { win_show(edge); });
    EXPECT_EQ(sent([&] { EXPECT_EQ(win_refresh(w, 0, 0, -1, -1), -1); }), "");
    EXPECT_EQ(cell_at(0, 1, 0).character, 'c') << "the image is still brought up to date";
    EXPECT_EQ(term_screen_state(7), 0);
    EXPECT_EQ(sent([] { EXPECT_EQ(term_screen_state(1), 1); }),
              "<0,0>ab<0,3>[R]r[N]<1,0>cd<1,78>ed");
    EXPECT_EQ(sent([] { EXPECT_EQ(term_screen_state(1), 1); }), "");
    EXPECT_EQ(sent([] { EXPECT_EQ(term_repaint(), 1); }), "[CL]<0,0>ab<0,3>[R]r[N]<1,0>cd<1,78>ed");
    EXPECT_EQ(sent([] { term_blank_screen(); }), "[CL]");
    EXPECT_EQ(cell_at(0, 0, 0).character, ' ');
    EXPECT_EQ(cell_at(0, 0, 0).attribute, 0);
    EXPECT_EQ(clear_marks_changed, 1);
    EXPECT_EQ(refresh(w), "<0,0>ab<0,3>[R]r[N]<1,0>cd<1,78>ed");
}

} // namespace
