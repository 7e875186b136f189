// The pick list: 20 rows from (2, 2), 76 wide; "M" marks on the box at column 78.
#include "test_util.h"
#include "widget_driver.h"

namespace {

using Step = std::tuple<const char *, int, int, int, std::string, int>;

std::string entry(int i) {
    std::string text = i < 0 ? "" : (i < 10 ? "Entry 0" : "Entry ") + std::to_string(i);
    return text + std::string(76 - text.size(), ' ');
}

// The driver's argument; steps: keys ending in "=a", current, top, count,
// marks above/below, bells.
struct PickCase {
    const char *what;
    std::string arg;
    std::vector<Step> steps;
};

using FormsPick = testing::TestWithParam<PickCase>;

const PickCase PICK_CASES[] = {
    // The driver deletes the last entry each time "D" is returned.
    {"30 entries",
     "delete-on=D",
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
    {"one page", "count=20", {{"End End =a", 19, 0, 20, "--", 1}}},
    {"one more", "count=21", {{"=a", 0, 0, 21, "-M", 0}, {"End Down =a", 20, 1, 21, "M-", 0}}},
    {"empty", "count=0", {{"Up Down Space PgUp PgDn Tab BackTab Home End =a", 0, 0, 0, "--", 9}}},
};

TEST_P(FormsPick, Session) {
    const auto &[what, arg, steps] = GetParam();
    Harness *h = forms_start({"pick", arg});
    ASSERT_NE(h, nullptr);
    for (const auto &[keys, current, top, count, marks, bells] : steps) {
        SCOPED_TRACE(keys);
        forms_keys(h, keys);
        EXPECT_EQ(forms_status(h), "key=97 current=" + std::to_string(current) + " top=" +
                                       std::to_string(top) + " count=" + std::to_string(count));
        for (int r = 0; r < 20; r++) {
            // A full-width bar on the current row only, even on an empty list.
            EXPECT_EQ(harness_reverse(h, 2 + r, 2), r == current - top) << r;
            EXPECT_EQ(harness_reverse(h, 2 + r, 77), r == current - top) << r;
            EXPECT_EQ(harness_row_plain(h, 2 + r).substr(2, 76),
                      entry(top + r < count ? top + r : -1));
        }
        std::string shown = {harness_row_plain(h, 1)[78], harness_row_plain(h, 22)[78]};
        EXPECT_EQ(shown, marks);
        EXPECT_EQ(harness_bells(h), bells);
        EXPECT_EQ(harness_cursor(h), std::make_pair(23, 69));
    }
    forms_finish(h);
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsPick, testing::ValuesIn(PICK_CASES), CaseName());

} // namespace
