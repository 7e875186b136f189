#include "support/support.h"

#include <gtest/gtest.h>
#include <string>

namespace {

TEST(SupportStrings, CaseCompare) {
    struct Case {
        const char *a;
        const char *b;
        int n;
        int expected;
    };
    const Case cases[] = {
        {"abc", "ABC", 0, 0},    {"abc", "abd", 0, -1},   {"abd", "ABC", 0, 1},
        {"ab", "abc", 0, -1},    {"abc", "ab", 0, 1},     {"", "", 0, 0},
        {"abcX", "ABCy", 3, 0},  {"abcX", "ABCy", 4, -1}, {"abcX", "ABCy", -5, -1},
        {"a", "a", 10, 0},       {"[", "a", 0, 1}, // '[' is above 'A' once upper-cased
        {"\xe9", "a", 0, -1},                      // bytes above 127 compare as negative
        {"ab\xe9", "ab", 0, -1}, {"Ann", "ann", 0, 0},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.a) + " vs " + c.b + " n=" + std::to_string(c.n));
        EXPECT_EQ(str_ncasecmp(c.a, c.b, c.n), c.expected);
        if (c.n == 0) {
            EXPECT_EQ(str_casecmp(c.a, c.b), c.expected);
            EXPECT_EQ(str_casecmp(c.b, c.a), -c.expected);
        }
    }
}

TEST(SupportStrings, CopyMax) {
    struct Case {
        const char *src;
        int n;
        const char *expected;
    };
    const Case cases[] = {{"hello", 3, "hel"},
                          {"hi", 10, "hi"},
                          {"hello", 5, "hello"},
                          {"hello", 0, ""},
                          {"", 4, ""}};
    for (const Case &c : cases) {
        char dst[16];
        memset(dst, 'Z', sizeof dst);
        int copied = str_copy_max(dst, c.src, c.n);
        EXPECT_STREQ(dst, c.expected);
        EXPECT_EQ(copied, static_cast<int>(strlen(c.expected)));
        EXPECT_EQ(dst[copied + 1], 'Z'); // nothing written past the terminator
    }
}

TEST(SupportStrings, Trim) {
    struct Case {
        const char *in;
        const char *leading;
        const char *trailing;
        const char *both;
    };
    const Case cases[] = {
        {"  x y \t\n", "x y \t\n", "  x y", "x y"},
        {"    ", "", "", ""},
        {"\nx ", "\nx ", "\nx", "\nx"}, // a leading newline is not a blank
        {"\t\tx", "x", "\t\tx", "x"},
        {"", "", "", ""},
        {"x\n\n", "x\n\n", "x", "x"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.in);
        std::string a = c.in, b = c.in, d = c.in;
        trim_leading(a.data());
        trim_trailing(b.data());
        trim_blanks(d.data());
        EXPECT_STREQ(a.c_str(), c.leading);
        EXPECT_STREQ(b.c_str(), c.trailing);
        EXPECT_STREQ(d.c_str(), c.both);
    }
}

} // namespace
