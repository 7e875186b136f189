// The pick list: 20 rows from (2, 2), 76 wide, in a box whose right side is
// column 78, where the scroll marks stand.
#include "test_util.h"
#include "widget_screen.h"

#include "forms/forms.h"

namespace {

using Step = std::tuple<const char *, int, int, int, std::string, int>;

std::string entry(int i) {
    std::string text = i < 0 ? "" : (i < 10 ? "Entry 0" : "Entry ") + std::to_string(i);
    return text + std::string(76 - text.size(), ' ');
}

// Entries; steps: keys ending in "=a", current, top, count, marks
// above/below, bells.
struct PickCase {
    const char *what;
    int count;
    std::vector<Step> steps;
};

using FormsPick = testing::TestWithParam<PickCase>;

const PickCase PICK_CASES[] = {
    // "D" deletes the last entry behind the widget's back, as a deleting
    // screen does.
    {"30 entries",
     30,
     {
         {"Space Down Down Down Down =a", 5, 0, 30, "-M", 0},
         {"PgDn =a", 25, 20, 30, "M-", 0},
         {"PgUp =a", 5, 0, 30, "-M", 0},
         {"PgDn Home =a", 20, 20, 30, "M-", 0},
         {"Up =a", 19, 19, 30, "M-", 0},
         {"Home =a", 0, 0, 30, "-M", 0},
         {"Home Up PgUp =a", 0, 0, 30, "-M", 3},
         {"End =a", 19, 0, 30, "-M", 3},
         {"Down Up =a", 19, 1, 30, "MM", 3},
         {"End =a", 20, 1, 30, "MM", 3},
         {"End =a", 29, 10, 30, "M-", 3},
         {"Down End =a", 29, 10, 30, "M-", 5},
         {"=D =D =a", 27, 10, 28, "M-", 5},
     }},
    // Marks show exactly when entries lie beyond the page.
    {"one page", 20, {{"End End =a", 19, 0, 20, "--", 1}}},
    {"one more", 21, {{"=a", 0, 0, 21, "-M", 0}, {"End Down =a", 20, 1, 21, "M-", 0}}},
    {"empty", 0, {{"Up Down Space PgUp PgDn Tab BackTab Home End =a", 0, 0, 0, "--", 9}}},
};

TEST_P(FormsPick, Session) {
    const auto &[what, entries, steps] = GetParam();
    PickList pick;
    int key = 0;
    widget_start([&] {
        int window = win_create(-1, "Pick", 0, 0, 24, 80);
        pick_list_init(&pick);
        pick.window = window;
        pick.first_row = 2;
        pick.column = 2;
        pick.rows = 20;
        pick.width = 76;
        pick.park_row = 23;
        pick.park_column = 69;
        List *list = list_create(25);
        for (int i = 0; i < entries; i++)
            list_append(list, str_dup(entry(i).substr(0, 8).c_str()), str_free);
        win_box(window, 0, 1, 1, 22, 78);
        pick_list_show(&pick, list);
        win_show(window);
        while (key != KEY_F10) {
            key = pick_list_run(&pick, list);
            if (key == 'D' && list_count(list) > 0)
                list_delete(list, list_count(list) - 1);
        }
        list_destroy(list);
        win_destroy(window);
    });
    for (const auto &[keys, current, top, count, marks, bells] : steps) {
        SCOPED_TRACE(keys);
        widget_keys(keys);
        EXPECT_EQ(key, 'a');
        EXPECT_EQ(pick.current, current);
        EXPECT_EQ(pick.top, top);
        EXPECT_EQ(pick.count, count);
        for (int r = 0; r < 20; r++) {
            // A full-width bar on the current row only, even on an empty list.
            EXPECT_EQ(widget_reverse(2 + r, 2), r == current - top) << r;
            EXPECT_EQ(widget_reverse(2 + r, 77), r == current - top) << r;
            EXPECT_EQ(widget_row(2 + r).substr(2, 76), entry(top + r < count ? top + r : -1));
        }
        std::string shown = {widget_row(1)[78], widget_row(22)[78]};
        EXPECT_EQ(shown, marks);
        EXPECT_EQ(widget_bells, bells);
        EXPECT_EQ(widget_cursor(), std::make_pair(23, 69));
    }
    widget_finish();
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsPick, testing::ValuesIn(PICK_CASES), CaseName());

} // namespace
