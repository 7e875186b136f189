// Three buttons at rows 3 to 5; the driver moves the focus on KEY_TAB/KEY_BACKTAB.
#include "test_util.h"
#include "widget_driver.h"

namespace {

TEST(FormsRadio, OneSessionOfKeys) {
    Harness *h = forms_start({"radio"});
    ASSERT_NE(h, nullptr);
    // Keys, key returned, selected, changed, focus after the move, bells so far.
    const std::vector<std::tuple<const char *, int, int, int, int, int>> steps = {
        {"=x", 265, 0, 0, 1, 0}, // selecting the selected one changes nothing
        {"Space", 265, 1, 1, 2, 0},      {"Up", 266, 1, 1, 1, 0},    {"=x", 265, 1, 1, 2, 0},
        {"=*", 265, 2, 1, 0, 0},         {"Enter", 265, 2, 1, 1, 0}, {"Ctrl-J", 265, 2, 1, 2, 0},
        {"Down", 265, 2, 1, 0, 0},       {"=a Esc", 27, 2, 1, 0, 1}, {"BackTab", 266, 2, 1, 2, 1},
        {"BackTab =X", 265, 1, 1, 2, 1},
    };
    for (const auto &[keys, key, selected, changed, focus, bells] : steps) {
        SCOPED_TRACE(keys);
        forms_keys(h, keys);
        EXPECT_EQ(forms_status(h),
                  "key=" + std::to_string(key) + " selected=" + std::to_string(selected) +
                      " changed=" + std::to_string(changed) + " focus=" + std::to_string(focus));
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(harness_row_plain(h, 3 + i).substr(2, 3), i == selected ? "(*)" : "( )");
        EXPECT_EQ(harness_bells(h), bells);
        EXPECT_EQ(harness_cursor(h), std::make_pair(3 + focus, 3));
    }
    forms_finish(h);
}

} // namespace
