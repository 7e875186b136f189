// The pager as on the documentation screen: rows 1 to 21, marks at 22/72.
#include "test_util.h"
#include "widget_screen.h"

#include "forms/forms.h"

namespace {

using Step = std::tuple<const char *, int, int, std::string, int>;

// Line count; steps: keys ending in "=q", top, first line shown, marks, bells.
struct PagerCase {
    const char *what;
    int count;
    std::vector<Step> steps;
};

using FormsPager = testing::TestWithParam<PagerCase>;

// Pages move by rows - 1 (20), Tab by rows / 2 (10).
const PagerCase PAGER_CASES[] = {
    {"60 lines",
     60,
     {
         {"=q", 0, 0, "- More v", 0},
         {"PgDn =q", 20, 20, "^ More v", 0},
         // Entering again pulls the last line back down to the last row.
         {"PgDn =q", 40, 39, "^ More -", 0},
         {"PgUp =q", 19, 19, "^ More v", 0},
         {"Home Tab =q", 10, 10, "^ More v", 0},
         {"BackTab Up =q", 0, 0, "- More v", 1},
         {"End =q", 39, 39, "^ More -", 1},
         {"Down =q", 39, 39, "^ More -", 2},
     }},
    {"one page",
     21,
     {{"Up Down Space PgUp PgDn Tab BackTab Home End Backspace =q", 0, 0, "--------", 10}}},
};

std::string line(int n) {
    return (n < 10 ? "Line 0" : "Line ") + std::to_string(n);
}

TEST_P(FormsPager, Session) {
    const auto &[what, count, steps] = GetParam();
    Pager pager;
    int key = 0, top_returned = -1; // the next run may move top before it waits
    widget_start([&] {
        int window = win_create(-1, "Pager", 0, 0, 24, 80);
        pager_init(&pager);
        pager.window = window;
        pager.first_row = 1;
        pager.rows = 21;
        pager.width = 80;
        pager.park_row = 23;
        pager.park_column = 63;
        List *list = list_create(25);
        for (int i = 0; i < count; i++)
            list_append(list, str_dup(line(i).c_str()), str_free);
        win_hline(window, 0, 0, 22, 0, -1);
        pager_show(&pager, list);
        win_show(window);
        while (key != KEY_F10) {
            key = pager_run(&pager, list);
            top_returned = pager.top;
        }
        list_destroy(list);
        win_destroy(window);
    });
    for (const auto &[keys, top, first, marks, bells] : steps) {
        SCOPED_TRACE(keys);
        widget_keys(keys);
        EXPECT_EQ(key, 'q');
        EXPECT_EQ(top_returned, top);
        EXPECT_EQ(pager.count, count);
        for (int r = 0; r < 21; r++) {
            int n = first + r;
            EXPECT_EQ(widget_text(1 + r), n >= count ? "" : line(n));
        }
        EXPECT_EQ(widget_row(22).substr(72), marks);
        for (int i = 0; i < 8; i++)
            EXPECT_EQ(widget_reverse(22, 72 + i), marks[i] != '-') << "mark cell " << i;
        EXPECT_EQ(widget_bells, bells);
        EXPECT_EQ(widget_cursor(), std::make_pair(23, 63));
    }
    widget_finish();
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsPager, testing::ValuesIn(PAGER_CASES), CaseName());

} // namespace
