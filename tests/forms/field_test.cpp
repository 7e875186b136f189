// The text field: text, changed flag, returned key, view and bells.
#include "test_util.h"
#include "widget_screen.h"

#include "forms/forms.h"

namespace {

// Width 15 at (5, 10) of a full-screen window; runs until F10.
struct FieldRun {
    TextField field;
    int key = 0;
    int window = -1;

    void start(const std::string &text, int maximum = 15, int digits = 0, const char *refused = "",
               int insert = 0) {
        field_init(&field);
        field.row = 5;
        field.column = 10;
        field.width = 15;
        field.maximum = maximum;
        field.digits_only = digits;
        snprintf(field.refused, sizeof field.refused, "%s", refused);
        snprintf(field.text, sizeof field.text, "%s", text.c_str());
        field.length = static_cast<int>(text.size());
        widget_start([this, insert] {
            window = win_create(-1, "Field", 0, 0, 24, 80);
            field.window = window;
            insert_mode = insert;
            field_show(&field, -1);
            win_show(window);
            while (key != KEY_F10)
                key = field_edit(&field);
            win_destroy(window);
        });
    }
};

struct FieldCase {
    const char *what;
    std::string text;
    int maximum, digits;
    const char *refused;
    int insert;
    std::string keys; // ending with the one returned
    std::string after;
    int key, changed, bells;
};

using FormsFieldKeys = testing::TestWithParam<FieldCase>;

TEST_P(FormsFieldKeys, Edit) {
    const FieldCase &c = GetParam();
    FieldRun run;
    run.start(c.text, c.maximum, c.digits, c.refused, c.insert);
    widget_keys(c.keys);
    EXPECT_EQ(run.key, c.key);
    EXPECT_EQ(run.field.changed, c.changed);
    EXPECT_EQ(insert_mode, c.insert);
    EXPECT_EQ(run.field.scroll, 0);
    EXPECT_EQ(run.field.text, c.after);
    EXPECT_EQ(run.field.length, static_cast<int>(c.after.size()));
    EXPECT_EQ(widget_bells, c.bells);
    widget_finish();
}

const std::string FULL = "abcdefghijklmno"; // at the maximum of 15

INSTANTIATE_TEST_SUITE_P(
    Cases, FormsFieldKeys,
    testing::Values(
        FieldCase{"cut word", "foo  bar", 15, 0, "", 0, "Ctrl-W Ctrl-J", "bar", 10, 1, 0},
        FieldCase{"cut inside", "foo  bar", 15, 0, "", 0, "Right Right Right Ctrl-W Enter",
                  "foobar", 13, 1, 0},
        // Nothing left to cut or delete: a bell and no change.
        FieldCase{"nothing to cut", "foo", 15, 0, "", 0,
                  "End Ctrl-E Ctrl-W Delete Home Backspace Enter", "foo", 13, 0, 4},
        // A character that finds no room still marks the text changed.
        FieldCase{"full", FULL, 15, 0, "", 0, "End =z Enter", FULL, 13, 1, 1},
        FieldCase{"overtype", FULL, 15, 0, "", 0, "Right =Z Enter", "aZcdefghijklmno", 13, 1, 0},
        FieldCase{"insert", FULL, 15, 0, "", 1, "Right =Z Enter", "aZbcdefghijklmn", 13, 1, 0},
        FieldCase{"insert last", FULL, 15, 0, "", 1, "End Left =Z Enter", "abcdefghijklmnZ", 13, 1,
                  0},
        FieldCase{"insert full", FULL, 15, 0, "", 1, "End =z Enter", FULL, 13, 1, 1},
        FieldCase{"digits", "", 15, 1, "", 0, "=192.168.a0.1 Space Enter", "192.168.0.1", 13, 1, 2},
        FieldCase{"refused", "ab", 15, 0, "x/", 0, "=x/ Tab", "ab", KEY_TAB, 0, 2}),
    CaseName());

// Width 15 from column 10, room for 20; every ending key resets the view.
TEST(FormsField, OneSessionOfViewAndModes) {
    FieldRun run;
    run.start(FULL, 20);
    const std::vector<std::tuple<std::string, std::string, int>> moves = {
        {"End", " abcdefghijklmno ", 25},
        {"=p", " bcdefghijklmnop ", 25},
        {"Home", " abcdefghijklmno ", 10},
    };
    for (const auto &[keys, view, column] : moves) {
        widget_keys(keys);
        EXPECT_EQ(widget_row(5).substr(9, 17), view) << keys;
        EXPECT_EQ(widget_cursor(), std::make_pair(5, column)) << keys;
    }
    const std::vector<std::pair<std::string, int>> ending = {
        {"Enter", 13},  {"Ctrl-J", 10}, {"Tab", 265},   {"BackTab", 266}, {"Esc", 27},
        {"Up", 258},    {"Down", 259},  {"Ctrl-A", 1},  {"Ctrl-D", 4},    {"Ctrl-G", 7},
        {"Ctrl-K", 11}, {"Ctrl-L", 12}, {"Ctrl-O", 15}, {"Ctrl-R", 18},   {"Ctrl-T", 20},
        {"F3", 302},    {"F6", 305},    {"F9", 308},
    };
    for (const auto &[name, code] : ending) {
        widget_keys("End " + name);
        EXPECT_EQ(run.key, code) << name;
        EXPECT_EQ(run.field.scroll, 0) << name;
        EXPECT_STREQ(run.field.text, "abcdefghijklmnop") << name;
        EXPECT_EQ(widget_row(5).substr(9, 17), " abcdefghijklmno ") << name;
    }
    EXPECT_EQ(run.field.changed, 1);
    EXPECT_EQ(widget_bells, 0);
    // Insert and F1 toggle the mode and say so in a box that the next key closes.
    widget_keys("Right");
    int bells = 0;
    for (const char *key : {"Insert", "F1", "Insert"}) {
        const char *text = bells % 2 == 0 ? "Insert mode is now ON" : "Insert mode is now OFF";
        widget_keys(key);
        EXPECT_NE(widget_screen().find(text), std::string::npos) << key;
        EXPECT_EQ(widget_bells, ++bells);
        widget_keys("=q"); // closes the box, not typed into the field
        EXPECT_EQ(widget_screen().find(text), std::string::npos);
        EXPECT_EQ(widget_cursor(), std::make_pair(5, 11));
    }
    widget_keys("=Z Enter");
    EXPECT_EQ(run.key, 13);
    EXPECT_EQ(insert_mode, 1);
    EXPECT_STREQ(run.field.text, "aZbcdefghijklmnop");
    widget_finish();
}

} // namespace
