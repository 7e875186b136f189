// Three buttons at rows 3 to 5; the test moves the focus on KEY_TAB/KEY_BACKTAB
// as a dialog does.
#include "test_util.h"
#include "widget_screen.h"

#include "forms/forms.h"

namespace {

TEST(FormsRadio, OneSessionOfKeys) {
    RadioGroup group;
    int key = 0, focus = 0;
    widget_start([&] {
        int window = win_create(-1, "Radio", 0, 0, 24, 80);
        radio_init(&group);
        group.window = window;
        group.count = 3;
        for (int i = 0; i < group.count; i++) {
            group.row[i] = 3 + i;
            group.column[i] = 2;
        }
        radio_show(-1, &group);
        win_show(window);
        while (key != KEY_F10) {
            key = radio_run(focus, &group);
            if (key == KEY_TAB || key == KEY_BACKTAB)
                focus = (focus + group.count + (key == KEY_TAB ? 1 : -1)) % group.count;
        }
        win_destroy(window);
    });
    // Keys, key returned, selected, changed, focus after the move, bells so far.
    const std::vector<std::tuple<const char *, int, int, int, int, int>> steps = {
        {"=x", 265, 0, 0, 1, 0}, // selecting the selected one changes nothing
        {"Space", 265, 1, 1, 2, 0},      {"Up", 266, 1, 1, 1, 0},    {"=x", 265, 1, 1, 2, 0},
        {"=*", 265, 2, 1, 0, 0},         {"Enter", 265, 2, 1, 1, 0}, {"Ctrl-J", 265, 2, 1, 2, 0},
        {"Down", 265, 2, 1, 0, 0},       {"=a Esc", 27, 2, 1, 0, 1}, {"BackTab", 266, 2, 1, 2, 1},
        {"BackTab =X", 265, 1, 1, 2, 1},
    };
    for (const auto &[keys, returned, selected, changed, moved, bells] : steps) {
        SCOPED_TRACE(keys);
        widget_keys(keys);
        EXPECT_EQ(key, returned);
        EXPECT_EQ(group.selected, selected);
        EXPECT_EQ(group.changed, changed);
        EXPECT_EQ(focus, moved);
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(widget_row(3 + i).substr(2, 3), i == selected ? "(*)" : "( )");
        EXPECT_EQ(widget_bells, bells);
        EXPECT_EQ(widget_cursor(), std::make_pair(3 + focus, 3));
    }
    widget_finish();
}

} // namespace
