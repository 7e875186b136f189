// Helpers of the end-to-end tests: sessions from the main menu, and files.
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

namespace e2e {

constexpr const char *MENU_TEXT = "Configuration Program";
constexpr time_t OLD_TIME = 1000000000;

// The main menu's items drawn in reverse video (the texts start at row 10,
// column 25).
inline std::vector<int> highlighted(Harness *h) {
    std::vector<int> items;
    for (int i = 0; i < 7; i++)
        if (harness_reverse(h, 10 + i, 25))
            items.push_back(i);
    return items;
}

// Old modification time, so that a rewrite shows.
inline void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    struct utimbuf old = {OLD_TIME, OLD_TIME};
    utime(path.c_str(), &old);
}

// Starts the program and waits for the main menu; a failure if it does not come.
inline Harness *start_at_menu(const HarnessOptions &options = {}) {
    Harness *h = harness_start(options);
    if (h != nullptr && !harness_wait_text(h, MENU_TEXT, 30000))
        ADD_FAILURE() << "no main menu:\n" << harness_screen(h);
    return h;
}

// X from the main menu: the program ends with status 0.
inline void quit(Harness *h) {
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0) << harness_output(h).substr(0, 200);
    harness_stop(h);
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
    Harness *h = start_at_menu({.env = env, .root = root});
    ASSERT_NE(h, nullptr) << what;
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
    quit(h);
}

} // namespace e2e
