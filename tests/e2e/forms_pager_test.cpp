// The pager as on the documentation screen: rows 1 to 21, marks at 22/72.
#include "test_util.h"
#include "widget_driver.h"

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

TEST_P(FormsPager, Session) {
    const auto &[what, count, steps] = GetParam();
    Harness *h = forms_start({"pager", "count=" + std::to_string(count)});
    ASSERT_NE(h, nullptr);
    for (const auto &[keys, top, first, marks, bells] : steps) {
        SCOPED_TRACE(keys);
        forms_keys(h, keys);
        EXPECT_EQ(forms_status(h),
                  "key=113 top=" + std::to_string(top) + " count=" + std::to_string(count));
        for (int r = 0; r < 21; r++) {
            int n = first + r;
            EXPECT_EQ(forms_status(h, 1 + r),
                      n >= count ? "" : (n < 10 ? "Line 0" : "Line ") + std::to_string(n));
        }
        EXPECT_EQ(harness_row_plain(h, 22).substr(72), marks);
        for (int i = 0; i < 8; i++)
            EXPECT_EQ(harness_reverse(h, 22, 72 + i), marks[i] != '-') << "mark cell " << i;
        EXPECT_EQ(harness_bells(h), bells);
        EXPECT_EQ(harness_cursor(h), std::make_pair(23, 63));
    }
    forms_finish(h);
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsPager, testing::ValuesIn(PAGER_CASES), CaseName());

} // namespace
