// The text field through the driver: text, changed flag, key, view and bells.
#include "test_util.h"
#include "widget_driver.h"

namespace {

struct FieldCase {
    const char *what;
    std::vector<std::string> args; // after "field"
    std::string keys;              // ending with the one returned
    std::string text;
    int key, changed, bells;
};

using FormsFieldKeys = testing::TestWithParam<FieldCase>;

TEST_P(FormsFieldKeys, Edit) {
    const FieldCase &c = GetParam();
    std::vector<std::string> args = {"field"};
    args.insert(args.end(), c.args.begin(), c.args.end());
    Harness *h = forms_start(args);
    ASSERT_NE(h, nullptr);
    forms_keys(h, c.keys);
    std::string ins = args.back() == "insert=1" ? "1" : "0";
    EXPECT_EQ(forms_status(h), "key=" + std::to_string(c.key) +
                                   " changed=" + std::to_string(c.changed) + " ins=" + ins +
                                   " scroll=0 [" + c.text + "]");
    EXPECT_EQ(harness_bells(h), c.bells);
    forms_finish(h);
}

const std::string FULL = "text=abcdefghijklmno"; // at the maximum of 15

INSTANTIATE_TEST_SUITE_P(
    Cases, FormsFieldKeys,
    testing::Values(
        FieldCase{"cut word", {"text=foo  bar"}, "Ctrl-W Ctrl-J", "bar", 10, 1, 0},
        FieldCase{
            "cut inside", {"text=foo  bar"}, "Right Right Right Ctrl-W Enter", "foobar", 13, 1, 0},
        // Nothing left to cut or delete: a bell and no change.
        FieldCase{"nothing to cut",
                  {"text=foo"},
                  "End Ctrl-E Ctrl-W Delete Home Backspace Enter",
                  "foo",
                  13,
                  0,
                  4},
        // A character that finds no room still marks the text changed.
        FieldCase{"full", {FULL}, "End =z Enter", "abcdefghijklmno", 13, 1, 1},
        FieldCase{"overtype", {FULL}, "Right =Z Enter", "aZcdefghijklmno", 13, 1, 0},
        FieldCase{"insert", {FULL, "insert=1"}, "Right =Z Enter", "aZbcdefghijklmn", 13, 1, 0},
        FieldCase{
            "insert last", {FULL, "insert=1"}, "End Left =Z Enter", "abcdefghijklmnZ", 13, 1, 0},
        FieldCase{"insert full", {FULL, "insert=1"}, "End =z Enter", "abcdefghijklmno", 13, 1, 1},
        FieldCase{"digits", {"digits=1"}, "=192.168.a0.1 Space Enter", "192.168.0.1", 13, 1, 2},
        FieldCase{"refused", {"text=ab", "refused=x/"}, "=x/ Tab", "ab", 265, 0, 2}),
    CaseName());

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
