// What the product tests cannot show: that a changed terminal mode is noticed.
#include "harness.h"

#include <gtest/gtest.h>

TEST(Harness, ModeChangesAreDetected) {
    const std::pair<const char *, bool> cases[] = {
        {"exit 0", true},
        {"stty raw -echo", false},
    };
    for (const auto &[script, unchanged] : cases) {
        HarnessOptions o;
        o.program = "/bin/sh";
        o.args = {"-c", script};
        Harness *h = harness_start(o);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(harness_wait_exit(h), 0) << script;
        EXPECT_EQ(harness_mode_unchanged(h), unchanged) << script;
        harness_stop(h);
    }
}
