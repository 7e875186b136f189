// The radio group through the driver: three buttons at rows 3 to 5, column 2.
#include "forms_util.h"

namespace {

std::string buttons(Harness *h, int count = 3) {
    std::string shown;
    for (int i = 0; i < count; i++)
        shown += forms_row(h, 3 + i).substr(2, 3);
    return shown;
}

struct RadioCase {
    const char *name;
    std::vector<std::string> args;
    std::vector<std::string> keys;
    const char *status; // after the last key
    const char *buttons;
    int bells;
};

TEST(FormsRadio, Keys) {
    const std::vector<RadioCase> cases = {
        {"blank selects the focused button and moves on",
         {"radio", "selected=1", "focus=0"},
         {"= "},
         "key=265 selected=0 changed=1 focus=0",
         "(*)( )( )",
         0},
        {"x on the selected button changes nothing",
         {"radio", "selected=0", "focus=0"},
         {"=x"},
         "key=265 selected=0 changed=0 focus=0",
         "(*)( )( )",
         0},
        {"star and X select too",
         {"radio", "focus=2"},
         {"=*"},
         "key=265 selected=2 changed=1 focus=2",
         "( )( )(*)",
         0},
        {"capital X",
         {"radio", "focus=1"},
         {"=X"},
         "key=265 selected=1 changed=1 focus=1",
         "( )(*)( )",
         0},
        {"enter only moves on",
         {"radio", "focus=1"},
         {"Enter"},
         "key=265 selected=0 changed=0 focus=1",
         "(*)( )( )",
         0},
        {"ctrl-j only moves on",
         {"radio", "focus=1"},
         {"Ctrl-J"},
         "key=265 selected=0 changed=0 focus=1",
         "(*)( )( )",
         0},
        {"down moves on",
         {"radio", "focus=1"},
         {"Down"},
         "key=265 selected=0 changed=0 focus=1",
         "(*)( )( )",
         0},
        {"backtab is returned",
         {"radio", "focus=1"},
         {"BackTab"},
         "key=266 selected=0 changed=0 focus=1",
         "(*)( )( )",
         0},
        {"up moves back",
         {"radio", "focus=1"},
         {"Up"},
         "key=266 selected=0 changed=0 focus=1",
         "(*)( )( )",
         0},
        {"other letters ring and keep the focus",
         {"radio", "focus=1"},
         {"=a", "Backspace", "Delete", "PgUp", "End", "Insert", "Esc"},
         "key=27 selected=0 changed=0 focus=1",
         "(*)( )( )",
         6},
        {"changed stays set after selecting back",
         {"radio", "focus=1"},
         {"= ", "Up", "Up", "=x"},
         "key=265 selected=0 changed=1 focus=0",
         "(*)( )( )",
         0},
    };
    for (const RadioCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args);
        ASSERT_NE(h, nullptr);
        forms_keys(h, c.keys);
        EXPECT_EQ(forms_status(h), c.status);
        EXPECT_EQ(buttons(h), c.buttons);
        EXPECT_EQ(harness_bells(h), c.bells);
        forms_finish(h);
    }
}

TEST(FormsRadio, ReturnedKeysAndCursor) {
    const std::vector<std::pair<std::string, int>> keys = {
        {"Ctrl-A", 1},  {"Ctrl-D", 4},  {"Ctrl-G", 7},  {"Ctrl-K", 11},
        {"Ctrl-L", 12}, {"Ctrl-R", 18}, {"Ctrl-T", 20}, {"Left", 257},
        {"Right", 260}, {"Home", 269},  {"F1", 300},    {"F6", 305},
    };
    Harness *h = forms_start({"radio", "focus=1", "selected=2"});
    ASSERT_NE(h, nullptr);
    // The cursor waits on the middle of the focused button.
    EXPECT_EQ(harness_cursor(h), std::make_pair(4, 3));
    EXPECT_TRUE(harness_cursor_visible(h));
    EXPECT_EQ(buttons(h), "( )( )(*)");
    for (const auto &[name, code] : keys) {
        SCOPED_TRACE(name);
        forms_keys(h, {name});
        EXPECT_EQ(forms_status(h), "key=" + std::to_string(code) + " selected=2 changed=0 focus=1");
        EXPECT_EQ(harness_cursor(h), std::make_pair(4, 3));
    }
    EXPECT_EQ(harness_bells(h), 0);
    forms_finish(h);
}

TEST(FormsRadio, SixButtons) {
    Harness *h = forms_start({"radio", "count=6", "focus=5", "selected=0"});
    ASSERT_NE(h, nullptr);
    forms_keys(h, {"= "});
    EXPECT_EQ(buttons(h, 6), "( )( )( )( )( )(*)");
    EXPECT_EQ(forms_row(h, 8).substr(2, 12), "(*) Choice 5");
    EXPECT_EQ(forms_status(h), "key=265 selected=5 changed=1 focus=5");
    forms_finish(h);
}

} // namespace
