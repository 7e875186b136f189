// Shared pieces of the widget tests: start the widget driver, send a mixed
// sequence of typed text and named keys, read cells of the screen.
#pragma once

#include "harness.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// Starts the driver with a scenario and its options and waits until the
// widget is on the screen (marker: text that the scenario shows when ready).
inline Harness *forms_start(const std::vector<std::string> &args,
                            const std::string &marker = "ready") {
    HarnessOptions options;
    options.program = AV_WIDGET_DRIVER;
    options.args = args;
    options.key_pause_ms = 60;
    Harness *h = harness_start(options);
    if (h == nullptr)
        return nullptr;
    EXPECT_TRUE(harness_wait_text(h, marker)) << "driver did not show " << marker;
    harness_wait_quiet(h, 100);
    return h;
}

// Keys: a name the harness knows ("Left", "Ctrl-W", "F6" ...), or "=text"
// typed one character at a time.
inline void forms_keys(Harness *h, const std::vector<std::string> &keys) {
    for (const std::string &k : keys) {
        if (!k.empty() && k[0] == '=')
            harness_type(h, k.substr(1));
        else
            harness_key(h, k);
    }
    harness_wait_quiet(h, 150);
}

// One character per cell: line-drawing pieces (UTF-8 box characters) become
// '-', '|' or '+', so that columns can be indexed directly.
inline std::string forms_cells(const std::string &utf8) {
    std::string out;
    for (size_t i = 0; i < utf8.size();) {
        unsigned char c = (unsigned char)utf8[i];
        if (c < 0x80) {
            out += (char)c;
            i++;
            continue;
        }
        size_t n = c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : 2;
        std::string piece = utf8.substr(i, n);
        if (piece == "\u2500")
            out += '-';
        else if (piece == "\u2502")
            out += '|';
        else
            out += '+';
        i += n;
    }
    return out;
}

inline std::string forms_row(Harness *h, int row) {
    return forms_cells(harness_row(h, row));
}

// The status row without its trailing blanks.
inline std::string forms_status(Harness *h, int row = 23) {
    std::string s = forms_row(h, row).substr(0, 60);
    while (!s.empty() && s.back() == ' ')
        s.pop_back();
    return s;
}

// Ends the driver with F10 and checks that it left the terminal as found.
inline void forms_finish(Harness *h) {
    harness_key(h, "F10");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}
