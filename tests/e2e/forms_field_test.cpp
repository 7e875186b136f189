// The text field through the driver: text, changed flag, key, view and bells.
#include "forms_util.h"

namespace {

TEST(FormsField, EditingKeys) {
    const std::string full = "text=abcdefghijklmno"; // at the maximum of 15
    // Arguments, keys ending with the one returned, text, key, changed, bells.
    const std::vector<std::tuple<std::vector<std::string>, std::string, std::string, int, int, int>>
        cases = {
            {{"field", "text=foo  bar"}, "Ctrl-W Ctrl-J", "bar", 10, 1, 0},
            {{"field", "text=foo  bar"}, "Right Right Right Ctrl-W Enter", "foobar", 13, 1, 0},
            // Nothing left to cut or delete: a bell and no change.
            {{"field", "text=foo"},
             "End Ctrl-E Ctrl-W Delete Home Backspace Enter",
             "foo",
             13,
             0,
             4},
            // A character that finds no room still marks the text changed.
            {{"field", full}, "End =z Enter", "abcdefghijklmno", 13, 1, 1},
            {{"field", full}, "Right =Z Enter", "aZcdefghijklmno", 13, 1, 0},
            {{"field", full, "insert=1"}, "Right =Z Enter", "aZbcdefghijklmn", 13, 1, 0},
            {{"field", full, "insert=1"}, "End Left =Z Enter", "abcdefghijklmnZ", 13, 1, 0},
            {{"field", full, "insert=1"}, "End =z Enter", "abcdefghijklmno", 13, 1, 1},
            {{"field", "digits=1"}, "=192.168.a0.1 Space Enter", "192.168.0.1", 13, 1, 2},
            {{"field", "text=ab", "refused=x/"}, "=x/ Tab", "ab", 265, 0, 2},
        };
    for (const auto &[args, keys, text, key, changed, bells] : cases) {
        SCOPED_TRACE(args.back() + " / " + keys);
        Harness *h = forms_start(args);
        ASSERT_NE(h, nullptr);
        forms_keys(h, keys);
        std::string ins = args.back() == "insert=1" ? "1" : "0";
        EXPECT_EQ(forms_status(h), "key=" + std::to_string(key) +
                                       " changed=" + std::to_string(changed) + " ins=" + ins +
                                       " scroll=0 [" + text + "]");
        EXPECT_EQ(harness_bells(h), bells);
        forms_finish(h);
    }
}

// Width 15 from column 10, room for 20; every ending key resets the view.
TEST(FormsField, OneSessionOfViewAndModes) {
    Harness *h = forms_start({"field", "max=20", "text=abcdefghijklmno"});
    ASSERT_NE(h, nullptr);
    const std::vector<std::tuple<std::string, std::string, int>> moves = {
        {"End", " abcdefghijklmno ", 25},
        {"=p", " bcdefghijklmnop ", 25},
        {"Home", " abcdefghijklmno ", 10},
    };
    for (const auto &[keys, view, column] : moves) {
        forms_keys(h, keys);
        EXPECT_EQ(harness_row_plain(h, 5).substr(9, 17), view) << keys;
        EXPECT_EQ(harness_cursor(h), std::make_pair(5, column)) << keys;
    }
    const std::vector<std::pair<std::string, int>> ending = {
        {"Enter", 13},  {"Ctrl-J", 10}, {"Tab", 265},   {"BackTab", 266}, {"Esc", 27},
        {"Up", 258},    {"Down", 259},  {"Ctrl-A", 1},  {"Ctrl-D", 4},    {"Ctrl-G", 7},
        {"Ctrl-K", 11}, {"Ctrl-L", 12}, {"Ctrl-O", 15}, {"Ctrl-R", 18},   {"Ctrl-T", 20},
        {"F3", 302},    {"F6", 305},    {"F9", 308},
    };
    for (const auto &[name, code] : ending) {
        forms_keys(h, "End " + name);
        EXPECT_EQ(forms_status(h),
                  "key=" + std::to_string(code) + " changed=1 ins=0 scroll=0 [abcdefghijklmnop]");
        EXPECT_EQ(harness_row_plain(h, 5).substr(9, 17), " abcdefghijklmno ") << name;
    }
    EXPECT_EQ(harness_bells(h), 0);
    // Insert and F1 toggle the mode and say so in a box that the next key closes.
    forms_keys(h, "Right");
    int bells = 0;
    for (const char *key : {"Insert", "F1", "Insert"}) {
        const char *text = bells % 2 == 0 ? "Insert mode is now ON" : "Insert mode is now OFF";
        forms_keys(h, key);
        EXPECT_TRUE(harness_wait_text(h, text)) << key;
        EXPECT_EQ(harness_bells(h), ++bells);
        forms_keys(h, "=q"); // closes the box, not typed into the field
        EXPECT_EQ(harness_screen(h).find(text), std::string::npos);
        EXPECT_EQ(harness_cursor(h), std::make_pair(5, 11));
    }
    forms_keys(h, "=Z Enter");
    EXPECT_EQ(forms_status(h), "key=13 changed=1 ins=1 scroll=0 [aZbcdefghijklmnop]");
    forms_finish(h);
}

} // namespace
