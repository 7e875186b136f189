// Every entry of the shipped description file must drive the program:
// cursor addressing, line drawing, attributes and all the keys it uses.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <cstring>
#include <fstream>
#include <set>
#include <vector>

namespace {

const char *const TERMDEF = AV_SOURCE_DIR "/data/termdef";

// The names of every entry (first lines that are not comments or
// continuations), skipping the descriptive last name.
std::vector<std::string> termdef_names() {
    std::vector<std::string> names;
    std::ifstream in(TERMDEF);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#' || line[0] == '\t' || line[0] == ' ')
            continue;
        std::string field = line.substr(0, line.find(':'));
        size_t start = 0;
        for (;;) {
            size_t bar = field.find('|', start);
            if (bar == std::string::npos)
                break; // the last name describes the entry
            names.push_back(field.substr(start, bar - start));
            start = bar + 1;
        }
    }
    return names;
}

TEST(Termdef, HoldsTheSupportedTerminals) {
    std::vector<std::string> names = termdef_names();
    std::set<std::string> have(names.begin(), names.end());
    for (const char *want : {"xterm", "xterm-256color", "xterm-color", "screen", "screen-256color",
                             "tmux", "tmux-256color", "linux", "vt100", "vt102", "vt220", "ansi",
                             "putty", "rxvt-unicode", "st-256color"})
        EXPECT_TRUE(have.count(want)) << want;
    EXPECT_EQ(have.size(), names.size()) << "a name is used twice";
}

TEST(Termdef, EveryEntryIsUsable) {
    const char *attrs[] = {"norm",     "rev",          "blink",          "blink_rev",
                           "bold",     "bold_rev",     "bold_blink",     "bold_blink_rev",
                           "und",      "und_rev",      "und_blink",      "und_blink_rev",
                           "und_bold", "und_bold_rev", "und_bold_blink", "und_bold_blink_rev"};
    struct KeyCap {
        const char *cap;
        int code;
    } keys[] = {
        {"kl", KEY_LEFT},      {"kr", KEY_RIGHT},  {"ku", KEY_UP},     {"kd", KEY_DOWN},
        {"kb", KEY_BACKSPACE}, {"dk", KEY_DELETE}, {"al", KEY_INSERT}, {"bt", KEY_BACKTAB},
        {"PU", KEY_PGUP},      {"PD", KEY_PGDN},   {"ho", KEY_HOME},   {"EN", KEY_END},
        {"k1", KEY_F1},        {"k2", KEY_F2},     {"k3", KEY_F3},     {"k4", KEY_F4},
        {"k5", KEY_F5},        {"k6", KEY_F6},     {"k7", KEY_F7},     {"k8", KEY_F8},
        {"k9", KEY_F9},        {"k0", KEY_F10},    {"ta", KEY_TAB},
    };
    setenv("AVTERMCAP", TERMDEF, 1);
    for (const std::string &name : termdef_names()) {
        if (name.rfind("av-", 0) == 0)
            continue; // shared parts, not terminals
        SCOPED_TRACE(name);
        term_reset();
        setenv("AVTERM", name.c_str(), 1);
        TermState state{};
        ASSERT_EQ(term_init(0, &state), 0);
        EXPECT_EQ(tc_find("tc"), -1) << "a link was not followed";
        EXPECT_STREQ(term_goto(0, 0), "\x1b[1;1H");
        EXPECT_STREQ(term_goto(23, 79), "\x1b[24;79H\x1b[24;80H");
        EXPECT_EQ(tc_num("li"), 24);
        EXPECT_EQ(term_auto_margin(), 1);
        const char *cl = tc_str("cl");
        ASSERT_NE(cl, nullptr);
        EXPECT_GT(strlen(cl), 0u);
        term_screen_strings();
        EXPECT_NE(capture_stdout(term_cursor_on), "");
        EXPECT_NE(capture_stdout(term_cursor_off), "");
        EXPECT_STRNE(term_line_string(LS_GH), "-") << "line drawing fell back to ASCII";
        std::set<std::string> pieces;
        for (int i = LS_GH; i < LS_COUNT; ++i)
            pieces.insert(term_line_string(i));
        EXPECT_EQ(pieces.size(), 11u) << "two line pieces are the same";
        std::set<std::string> attr_values;
        for (const char *attr : attrs) {
            const char *value = tc_str(attr);
            ASSERT_NE(value, nullptr) << attr;
            EXPECT_EQ(std::string(value).rfind("\x1b[0", 0), 0u) << attr << " must reset first";
            attr_values.insert(value);
        }
        EXPECT_EQ(attr_values.size(), 16u);

        // All key sequences in one burst come back as their keys, in order.
        key_init();
        std::string burst;
        std::vector<int> want;
        for (const KeyCap &k : keys) {
            const char *seq = tc_str(k.cap);
            ASSERT_NE(seq, nullptr) << k.cap;
            burst += seq;
            want.push_back(k.code);
        }
        burst += "\b\r";
        want.push_back(KEY_BACKSPACE);
        want.push_back(13);
        EXPECT_EQ(read_keys(burst, want.size()), want);
    }
}

} // namespace
