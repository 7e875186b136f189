// Helpers for the editor screens' end-to-end tests.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <utime.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "harness.h"

namespace editors_e2e {

constexpr const char *MENU_TEXT = "Configuration Program";
constexpr time_t OLD_TIME = 1000000000;
const std::string ABSENT = "<absent>";

// Old modification time, so that a rewrite shows.
inline void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    struct utimbuf old = {OLD_TIME, OLD_TIME};
    utime(path.c_str(), &old);
}

inline std::string read_file(const std::string &path) {
    struct stat st;
    if (lstat(path.c_str(), &st) != 0)
        return ABSENT;
    std::stringstream ss;
    ss << std::ifstream(path, std::ios::binary).rdbuf();
    return ss.str();
}

// "{Name}" is a named key, anything else is typed. A lone Escape is kept
// apart from the next key so that the two are not read as one sequence.
inline void press(Harness *h, const std::string &script) {
    for (size_t i = 0; i < script.size(); i++) {
        size_t close = script[i] == '{' ? script.find('}', i) : std::string::npos;
        if (close == std::string::npos) {
            harness_type(h, script.substr(i, 1));
            continue;
        }
        std::string name = script.substr(i + 1, close - i - 1);
        if (name == "Esc")
            harness_wait_quiet(h, 150);
        harness_key(h, name);
        if (name == "Esc")
            harness_wait_quiet(h, 250);
        i = close;
    }
}

inline Harness *open_screen(const std::string &root, char menu_key, const std::string &title,
                            const std::vector<std::string> &env = {}) {
    HarnessOptions options;
    options.root = root;
    options.env = env;
    options.key_pause_ms = 50; // keys queue when they come faster than read
    Harness *h = harness_start(options);
    if (h == nullptr)
        return nullptr;
    if (harness_wait_text(h, MENU_TEXT)) {
        harness_type(h, std::string(1, menu_key));
        if (harness_wait_text(h, title))
            return h;
    }
    ADD_FAILURE() << title << " did not open:\n" << harness_screen(h);
    harness_stop(h);
    return nullptr;
}

// Keys, then the text that must appear (empty: just wait for quiet).
struct Step {
    std::string keys;
    std::string expect;
};

// Runs the steps, expects the menu back and leaves the program.
inline void run_and_exit(Harness *h, const std::vector<Step> &steps, const std::string &what) {
    for (const Step &step : steps) {
        press(h, step.keys);
        EXPECT_TRUE(harness_wait_text(h, step.expect)) << what << ": " << step.keys << "\n"
                                                       << harness_screen(h);
    }
    EXPECT_TRUE(harness_wait_text(h, MENU_TEXT)) << what << "\n" << harness_screen(h);
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0) << what;
    harness_stop(h);
}

} // namespace editors_e2e
