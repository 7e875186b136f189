// Helpers for the editor screens' end-to-end tests: prepared product roots,
// key scripts, and rows read as plain text.
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

inline std::string config_path(const std::string &root, const std::string &name) {
    return root + "/conduvia/config/" + name;
}

// Writes bytes with an old modification time, so that a rewrite shows.
inline void write_file(const std::string &path, const std::string &bytes) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    struct utimbuf old = {OLD_TIME, OLD_TIME};
    utime(path.c_str(), &old);
}

inline bool file_exists(const std::string &path) {
    struct stat st;
    return lstat(path.c_str(), &st) == 0;
}

inline std::string read_file(const std::string &path) {
    std::stringstream ss;
    ss << std::ifstream(path, std::ios::binary).rdbuf();
    return ss.str();
}

// One row as 80 single-byte cells; line drawing (UTF-8 from the harness) is '+'.
inline std::string plain_row(Harness *h, int row) {
    std::string raw = harness_row(h, row), out;
    for (size_t i = 0; i < raw.size();) {
        unsigned char c = static_cast<unsigned char>(raw[i]);
        out += c < 0x80 ? static_cast<char>(c) : '+';
        i += c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
    }
    return out;
}

inline std::string plain_screen(Harness *h) {
    std::string s;
    for (int r = 0; r < 24; r++)
        s += plain_row(h, r) + "\n";
    return s;
}

// Runs a key script: "{Name}" is a named key of the harness, anything else
// is typed key by key. A lone Escape is kept apart from the next key so that
// the two are not read as one sequence.
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

// Starts the program on root and opens the screen of menu_key.
inline Harness *open_screen(const std::string &root, char menu_key, const std::string &title,
                            const std::vector<std::string> &env = {}) {
    HarnessOptions options;
    options.root = root;
    options.env = env;
    // Keys simply queue when they come faster than the screen reads them.
    options.key_pause_ms = 50;
    Harness *h = harness_start(options);
    if (h == nullptr)
        return nullptr;
    bool ok = harness_wait_text(h, MENU_TEXT);
    if (ok) {
        harness_type(h, std::string(1, menu_key));
        ok = harness_wait_text(h, title);
    }
    if (!ok) {
        ADD_FAILURE() << "screen " << title << " did not open:\n" << plain_screen(h);
        harness_stop(h);
        return nullptr;
    }
    harness_wait_quiet(h);
    return h;
}

// A step of a session: keys, then the text that must appear (or nothing).
struct Step {
    std::string keys;
    std::string expect;
};

inline void run_steps(Harness *h, const std::vector<Step> &steps, const std::string &what) {
    for (const Step &step : steps) {
        press(h, step.keys);
        if (!step.expect.empty())
            EXPECT_TRUE(harness_wait_text(h, step.expect))
                << what << ": after " << step.keys << "\n"
                << plain_screen(h);
        else
            harness_wait_quiet(h);
    }
}

// The screen must have returned to the menu; leaves the program.
inline void exit_program(Harness *h, const std::string &what = "") {
    EXPECT_TRUE(harness_wait_text(h, MENU_TEXT)) << what << "\n" << plain_screen(h);
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0) << what;
    harness_stop(h);
}

} // namespace editors_e2e
