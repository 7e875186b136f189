// Helpers for the editor screens' end-to-end tests.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "harness.h"
#include "test_util.h"

namespace editors_e2e {

constexpr const char *MENU_TEXT = "Configuration Program";
constexpr time_t OLD_TIME = 1000000000;

// Old modification time, so that a rewrite shows.
inline void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    struct utimbuf old = {OLD_TIME, OLD_TIME};
    utime(path.c_str(), &old);
}

// Keys, the text that must then appear (empty: just wait for quiet), and
// what to do after it.
struct Step {
    std::string keys;
    std::string expect = "";
    std::function<void(Harness *)> then = nullptr;
};

// A step's check that every text is on the screen.
inline std::function<void(Harness *)> shows(const std::vector<std::string> &texts) {
    return [texts](Harness *h) {
        for (const std::string &text : texts)
            EXPECT_NE(harness_screen(h).find(text), std::string::npos) << text;
    };
}

// Opens the screen, runs the steps, expects the menu back and leaves.
inline void run_screen(const std::string &root, char menu_key, const std::string &title,
                       const std::vector<Step> &steps, const std::string &what,
                       const std::vector<std::string> &env = {}) {
    HarnessOptions options{.env = env, .root = root};
    Harness *h = harness_start(options);
    ASSERT_NE(h, nullptr) << what;
    EXPECT_TRUE(harness_wait_text(h, MENU_TEXT));
    // Whatever the files hold, the screen must not change the terminal's modes.
    const std::string modes = harness_terminal_modes(h);
    harness_type(h, std::string(1, menu_key));
    EXPECT_TRUE(harness_wait_text(h, title)) << what << "\n" << harness_screen(h);
    for (const Step &step : steps) {
        harness_keys(h, step.keys);
        EXPECT_TRUE(harness_wait_text(h, step.expect)) << what << ": " << step.keys << "\n"
                                                       << harness_screen(h);
        if (step.then)
            step.then(h);
    }
    EXPECT_TRUE(harness_wait_text(h, MENU_TEXT)) << what << "\n" << harness_screen(h);
    EXPECT_EQ(harness_terminal_modes(h), modes) << what;
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0) << what;
    harness_stop(h);
}

} // namespace editors_e2e
