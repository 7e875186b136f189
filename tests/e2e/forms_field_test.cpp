// The text field, typed at through the driver: text, changed flag, returned
// key, view and bells as a person sees them.
#include "forms_util.h"

namespace {

struct FieldCase {
    const char *name;
    std::vector<std::string> args;
    std::vector<std::string> keys; // ending with the key that returns
    const char *text;              // expected text afterwards
    const char *status;            // expected status row
    int bells;
};

TEST(FormsField, EditingKeys) {
    const std::string full = "text=abcdefghijklmno"; // 15 characters
    const std::vector<FieldCase> cases = {
        {"empty field refuses every motion and deletion",
         {"field"},
         {"Left", "Right", "Home", "End", "Backspace", "Delete", "Ctrl-E", "Ctrl-W", "=x", "Enter"},
         "x",
         "key=13 len=1 changed=1 ins=0 scroll=0",
         8},
        {"cursor goes one past the end but not beyond",
         {"field", "text=ab"},
         {"Right", "Right", "Right", "=c", "Enter"},
         "abc",
         "key=13 len=3 changed=1 ins=0 scroll=0",
         1},
        {"word delete from the start",
         {"field", "text=foo  bar"},
         {"Ctrl-W", "Ctrl-J"},
         "bar",
         "key=10 len=3 changed=1 ins=0 scroll=0",
         0},
        {"word delete from the first blank",
         {"field", "text=foo  bar"},
         {"Right", "Right", "Right", "Ctrl-W", "Enter"},
         "foobar",
         "key=13 len=6 changed=1 ins=0 scroll=0",
         0},
        {"word delete inside the last word",
         {"field", "text=foo"},
         {"Right", "Ctrl-W", "Enter"},
         "f",
         "key=13 len=1 changed=1 ins=0 scroll=0",
         0},
        {"backspace, delete, F2 and cut to end",
         {"field", "text=abcdef"},
         {"End", "Backspace", "Home", "Delete", "F2", "Right", "Ctrl-E", "Enter"},
         "c",
         "key=13 len=1 changed=1 ins=0 scroll=0",
         0},
        {"overwrite at the maximum rings but marks changed",
         {"field", full},
         {"End", "=z", "Enter"},
         "abcdefghijklmno",
         "key=13 len=15 changed=1 ins=0 scroll=0",
         1},
        {"overwrite inside replaces",
         {"field", full},
         {"Right", "Right", "Right", "=Z", "Enter"},
         "abcZefghijklmno",
         "key=13 len=15 changed=1 ins=0 scroll=0",
         0},
        {"insert into a full field drops the last character",
         {"field", full, "insert=1"},
         {"Right", "Right", "Right", "=Z", "Enter"},
         "abcZdefghijklmn",
         "key=13 len=15 changed=1 ins=1 scroll=0",
         0},
        {"insert on the last character of a full field replaces it",
         {"field", full, "insert=1"},
         {"End", "Left", "=Z", "Enter"},
         "abcdefghijklmnZ",
         "key=13 len=15 changed=1 ins=1 scroll=0",
         0},
        {"insert at the end appends",
         {"field", "text=abc", "insert=1"},
         {"End", "=d", "Enter"},
         "abcd",
         "key=13 len=4 changed=1 ins=1 scroll=0",
         0},
        {"insert at the end of a full field rings",
         {"field", full, "insert=1"},
         {"End", "=z", "Enter"},
         "abcdefghijklmno",
         "key=13 len=15 changed=1 ins=1 scroll=0",
         1},
        {"digits only takes an address and refuses letters and blanks",
         {"field", "digits"},
         {"=192.168.a0.1 ", "Enter"},
         "192.168.0.1",
         "key=13 len=11 changed=1 ins=0 scroll=0",
         2},
        {"refused characters and no blanks",
         {"field", "noblanks", "refused=/#$"},
         {"=a/b c#d$", "Enter"},
         "abcd",
         "key=13 len=4 changed=1 ins=0 scroll=0",
         4},
        {"refused characters leave the field unchanged",
         {"field", "text=ab", "refused=x"},
         {"=x", "Tab"},
         "ab",
         "key=265 len=2 changed=0 ins=0 scroll=0",
         1},
        {"keys without meaning ring",
         {"field", "text=ab"},
         {"PgUp", "PgDn", "Ctrl-B", "Ctrl-X", "Up"},
         "ab",
         "key=258 len=2 changed=0 ins=0 scroll=0",
         4},
    };
    for (const FieldCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args);
        ASSERT_NE(h, nullptr);
        forms_keys(h, c.keys);
        EXPECT_EQ(forms_status(h, 22), std::string("text=[") + c.text + "]");
        EXPECT_EQ(forms_status(h), c.status);
        EXPECT_EQ(harness_bells(h), c.bells);
        forms_finish(h);
    }
}

TEST(FormsField, EndingKeysAreReturned) {
    const std::vector<std::pair<std::string, int>> keys = {
        {"Ctrl-A", 1},    {"Ctrl-D", 4},  {"Ctrl-G", 7},  {"Ctrl-K", 11}, {"Ctrl-L", 12},
        {"Ctrl-O", 15},   {"Ctrl-R", 18}, {"Ctrl-T", 20}, {"Esc", 27},    {"Down", 259},
        {"BackTab", 266}, {"F3", 302},    {"F6", 305},    {"F9", 308},
    };
    Harness *h = forms_start({"field", "text=hello"});
    ASSERT_NE(h, nullptr);
    for (const auto &[name, code] : keys) {
        SCOPED_TRACE(name);
        forms_keys(h, {"Right", name});
        EXPECT_EQ(forms_status(h),
                  "key=" + std::to_string(code) + " len=5 changed=0 ins=0 scroll=0");
    }
    EXPECT_EQ(harness_bells(h), 0);
    forms_finish(h);
}

TEST(FormsField, ViewScrollsSidewaysAndComesBack) {
    // Width 15, room for 20: the field sits at row 5, columns 10 to 24.
    Harness *h = forms_start({"field", "max=20", "text=abcdefghijklmno"});
    ASSERT_NE(h, nullptr);
    forms_keys(h, {"End"});
    EXPECT_EQ(forms_row(h, 5).substr(9, 17), "[abcdefghijklmno]");
    EXPECT_EQ(harness_cursor(h), std::make_pair(5, 25));
    EXPECT_TRUE(harness_cursor_visible(h));

    forms_keys(h, {"=p"});
    EXPECT_EQ(forms_row(h, 5).substr(9, 17), "[bcdefghijklmnop]");
    EXPECT_EQ(harness_cursor(h), std::make_pair(5, 25));

    forms_keys(h, {"Home"});
    EXPECT_EQ(forms_row(h, 5).substr(9, 17), "[abcdefghijklmno]");
    EXPECT_EQ(harness_cursor(h), std::make_pair(5, 10));

    forms_keys(h, {"End", "=qrst", "Tab"});
    EXPECT_EQ(forms_status(h, 22), "text=[abcdefghijklmnopqrst]");
    EXPECT_EQ(forms_status(h), "key=265 len=20 changed=1 ins=0 scroll=0");
    EXPECT_EQ(forms_row(h, 5).substr(9, 17), "[abcdefghijklmno]");
    EXPECT_EQ(harness_cursor(h), std::make_pair(5, 10));
    EXPECT_EQ(harness_bells(h), 0);

    // Shrinking the text clears what was shown beyond it.
    forms_keys(h, {"Right", "Ctrl-E", "Enter"});
    EXPECT_EQ(forms_row(h, 5).substr(9, 17), "[a              ]");
    forms_finish(h);
}

TEST(FormsField, InsertKeyTogglesAndReports) {
    Harness *h = forms_start({"field", "text=abc"});
    ASSERT_NE(h, nullptr);
    const std::vector<std::pair<std::string, std::string>> toggles = {
        {"Insert", "Insert mode is now ON"},
        {"F1", "Insert mode is now OFF"},
    };
    forms_keys(h, {"Right"});
    int bells = 0;
    for (const auto &[key, text] : toggles) {
        SCOPED_TRACE(key);
        forms_keys(h, {key});
        EXPECT_TRUE(harness_wait_text(h, text));
        EXPECT_NE(harness_screen(h).find("Press any key to continue:"), std::string::npos);
        EXPECT_EQ(harness_bells(h), ++bells);
        forms_keys(h, {"=q"}); // closes the box; not typed into the field
        EXPECT_EQ(harness_screen(h).find(text), std::string::npos);
        // Back in the field, the cursor where it was.
        EXPECT_EQ(harness_cursor(h), std::make_pair(5, 11));
    }
    forms_keys(h, {"Insert", "=q", "=Z", "Enter"});
    EXPECT_EQ(forms_status(h, 22), "text=[aZbc]");
    EXPECT_EQ(forms_status(h), "key=13 len=4 changed=1 ins=1 scroll=0");
    forms_finish(h);
}

} // namespace
