// Window records: ids and their queue, creation defaults and geometry.
#include "win_test_util.h"

#include <cstring>

namespace {

TEST(WinIds, QueueOrderAndFullTable) {
    start_screen();
    EXPECT_EQ(win_create(-1, "a", 0, 0, 2, 2), 1);
    EXPECT_EQ(win_destroy(1), 0);
    // A given-back id waits at the end of the queue behind 2..99.
    for (int expected = 2; expected < WIN_MAX_IDS; expected++)
        ASSERT_EQ(win_create(-1, "b", 0, 0, 1, 1), expected);
    EXPECT_EQ(win_create(-1, "c", 0, 0, 1, 1), 1);
    EXPECT_EQ(win_create(-1, "full", 0, 0, 1, 1), -1);
    EXPECT_EQ(win_create(7, "full", 0, 0, 1, 1), -1);
    EXPECT_EQ(win_destroy(50), 0);
    EXPECT_EQ(win_create(-1, "again", 0, 0, 1, 1), 50);
}

TEST(WinIds, FailedCreationsGiveEverythingBack) {
    struct Case {
        int parent, row, column, rows, columns;
    } const cases[] = {
        {-1, 0, 0, 0, 5}, {-1, 0, 0, 5, 0},   {57, 0, 0, 1, 1},   {100, 0, 0, 1, 1},
        {-2, 0, 0, 1, 1}, {-1, 24, 0, -1, 5}, {-1, 0, 85, 5, -1},
    };
    start_screen();
    for (const Case &c : cases)
        EXPECT_EQ(win_create(c.parent, "bad", c.row, c.column, c.rows, c.columns), -1)
            << c.parent << " " << c.row << "," << c.column << " " << c.rows << "x" << c.columns;
    EXPECT_EQ(free_window_count(), WIN_MAX_IDS - 1);
    EXPECT_EQ(win_lookup(100), nullptr);
    EXPECT_EQ(win_lookup(5), nullptr);
    EXPECT_EQ(win_lookup(-1), win_lookup(0));
}

TEST(WinRecords, DefaultsAndGeometry) {
    start_screen();
    EXPECT_STREQ(win_lookup(0)->name, "Virtual Window");
    int top = win_create(-1, "a name that is much longer than allowed", 0, 0, -1, -1);
    Window *r = win_lookup(top);
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->rows * 1000 + r->columns, 24080);
    EXPECT_EQ(std::strlen(r->name), 23u);
    EXPECT_TRUE(r->flags & WIN_HIDDEN);
    const Cell &c = r->cells[24 * 80 - 1];
    EXPECT_TRUE(c.character == ' ' && c.attribute == 0 && c.colour == 0xB0 && c.join == 0);

    struct Case {
        int row, column, rows, columns, screen_row, screen_column, want_rows, want_columns;
    } const cases[] = {
        {9, 23, 1, 1, 10, 24, 1, 1},
        {2, 5, -1, -1, 3, 6, 8, 25},
        {-3, -2, 2, 2, -2, -1, 2, 2},
        {8, 28, 5, 5, 9, 29, 5, 5}, // past its parent
    };
    int parent = win_create(top, "parent", 1, 1, 10, 30);
    for (const Case &k : cases) {
        Window *w = win_lookup(win_create(parent, "child", k.row, k.column, k.rows, k.columns));
        ASSERT_NE(w, nullptr) << k.row << "," << k.column;
        EXPECT_EQ(w->screen_row * 1000 + w->screen_column, k.screen_row * 1000 + k.screen_column);
        EXPECT_EQ(w->rows * 1000 + w->columns, k.want_rows * 1000 + k.want_columns);
        EXPECT_EQ(w->parent, parent);
    }
}

TEST(WinRecords, DestroyTakesDescendantsAndGivesTheirIdsBackFirst) {
    start_screen();
    int top = win_create(-1, "top", 0, 0, 10, 10);                          // 1
    int a = win_create(top, "a", 0, 0, 2, 2);                               // 2
    int b = win_create(top, "b", 0, 0, 2, 2);                               // 3
    int a2 = win_create(win_create(a, "a1", 0, 0, 1, 1), "a2", 0, 0, 1, 1); // 4, 5
    Chain *children = win_lookup(top)->children;
    EXPECT_EQ(reinterpret_cast<intptr_t>(children->first->value), b);
    EXPECT_EQ(win_destroy(a), 0);
    EXPECT_EQ(win_lookup(a2), nullptr);
    EXPECT_EQ(children->first, children->last) << "a left its parent's children";
    EXPECT_EQ(win_destroy(a), -1);
    EXPECT_EQ(win_destroy(0), 0);
    EXPECT_NE(win_lookup(0), nullptr);
    EXPECT_EQ(win_destroy(top), 0);
    int next[WIN_MAX_IDS - 1];
    for (int &id : next)
        id = win_create(-1, "x", 0, 0, 1, 1);
    // After 6..99 come a's line (5, 4, 2), then b before its parent.
    const int back[] = {5, 4, 2, 3, 1};
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(next[94 + i], back[i]) << i;
}

} // namespace
