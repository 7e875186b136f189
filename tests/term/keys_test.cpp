// The key table's priorities and the key reader, through a pipe standing in
// as file descriptor 0. Timing, mode and hang-up are seen end to end.
#include "term_test_util.h"

#include <gtest/gtest.h>
#include <tuple>

TEST(KeyRead, BindingsAndPriorities) {
    const std::tuple<const char *, std::string, std::vector<int>> cases[] = {
        {"ku=\\E[A", "\x1b[Aa\x1b", {KEY_UP, 'a', 27}},
        {"kl=^H:bs", "\b", {KEY_LEFT}},
        {"kb=^H", "\b\x7f", {KEY_BACKSPACE, KEY_DELETE}},
        {"bs", "\0335\x1b?\x10", {KEY_F5, KEY_ESC_QUERY, KEY_PGUP}},
        {"k1=\\E?:k0=\\EOP", "\x1b?\x1bOP", {KEY_F2, KEY_F1}}, // no FS: k0 is F1
        {"FS#1:k1=\\E?:k0=\\EOx", "\x1b?\x1bOx", {KEY_F1, KEY_F10}},
        {"FS#12:k0=\\EOP", "\x1bOP", {KEY_F1}}};
    for (const auto &[entry, input, want] : cases) {
        ASSERT_EQ(load_entry(std::string("t:") + entry + ":\n"), 0);
        EXPECT_EQ(read_keys(input, want.size()), want) << entry;
    }
}

// Sequences the table lacks: one key or one bell, never ESC and letters.
TEST(KeyRead, UnboundSequences) {
    // A plain record: g++ 14 misreads the copy of a one-element vector into a
    // tuple as out of bounds (-Warray-bounds).
    struct Case {
        std::string input;
        std::vector<int> want;
        int bells;
    };
    const Case cases[] = {
        {"\x1b[1;5Cx", {'x'}, 1},         // Ctrl-Right
        {"\x1b[23~\x1b[200~x", {'x'}, 2}, // F11, a bracketed paste start
        {"\x1b[[Ax\x1bO5Px\x1bOZx", {'x', 'x', 'x'}, 3},
        {"\x1bOA\x1bOB\x1bOC\x1bOD\x1bOH\x1bOF",
         {KEY_UP, KEY_DOWN, KEY_RIGHT, KEY_LEFT, KEY_HOME, KEY_END},
         0},
        {"\x1bOQ\x1bOR\x1bOS\x1bOP", {KEY_F2, KEY_F3, KEY_F1, KEY_F1}, 0}, // bound wins
    };
    for (const auto &[input, want, bells] : cases) {
        ASSERT_EQ(load_entry("t:ku=\\E[A:k0=\\EOS:\n"), 0);
        std::vector<int> got;
        EXPECT_EQ(capture_stdout([&] { got = read_keys(input, want.size()); }),
                  std::string(bells, '\a'));
        EXPECT_EQ(got, want) << testing::PrintToString(input);
    }
}
