// The widget driver seen from a test: start it on a widget, type keys, read
// the status rows it writes, end it.
#pragma once

#include "harness.h"

#include <gtest/gtest.h>

#include <sstream>

// Starts the driver and waits until the widget is up (marker on the screen).
inline Harness *forms_start(const std::vector<std::string> &args,
                            const std::string &marker = "ready") {
    Harness *h = harness_start({.program = AV_WIDGET_DRIVER, .args = args});
    if (h != nullptr && !harness_wait_text(h, marker))
        ADD_FAILURE() << "driver did not show " << marker;
    return h;
}

// Blank-separated keys: a harness key name, "Space", or "=text" typed as is.
inline void forms_keys(Harness *h, const std::string &keys) {
    std::istringstream in(keys);
    for (std::string k; in >> k;) {
        if (k == "Space" || k[0] == '=')
            harness_type(h, k == "Space" ? " " : k.substr(1));
        else
            harness_key(h, k);
    }
    harness_wait_idle(h);
}

// A status row of the driver without its trailing blanks.
inline std::string forms_status(Harness *h, int row = 23) {
    std::string s = harness_row_plain(h, row).substr(0, row == 23 ? 60 : 80);
    s.erase(s.find_last_not_of(' ') + 1);
    return s;
}

// Ends the driver with F10 and checks that it left the terminal as found.
inline void forms_finish(Harness *h) {
    harness_key(h, "F10");
    EXPECT_EQ(harness_wait_exit(h), 0);
    EXPECT_TRUE(harness_mode_unchanged(h));
    harness_stop(h);
}
