// "Press any key" means any key: a key sequence that the terminal's
// description does not bind closes the information screen and a message box
// as any other key does. Elsewhere it still rings once and does nothing.
#include <gtest/gtest.h>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

const char F11[] = "\033[23~", F12[] = "\033[24~", CTRL_RIGHT[] = "\033[1;5C",
           SHIFT_UP[] = "\033[1;2A";

struct AnyKeyCase {
    const char *name;
    const char *open;   // keys from the menu
    const char *prompt; // what shows until the key
    const char *key;    // bytes of an unbound key, in one write
    const char *after;  // what shows after it; empty: the prompt stays, with a bell
};

TEST(AppAnyKey, UnboundKeysCloseAnyKeyPromptsAndRingElsewhere) {
    const AnyKeyCase cases[] = {
        {"information screen, F11", "g", "Version : ", F11, "X - Exit"},
        {"information screen, Ctrl-Right", "g", "Version : ", CTRL_RIGHT, "X - Exit"},
        {"message box, F11", "cd", "There is nothing to delete.", F11, "Authorized UNIX"},
        {"message box, Ctrl-Right", "cd", "There is nothing to delete.", CTRL_RIGHT,
         "Authorized UNIX"},
        {"message box, Shift-Up", "cd", "There is nothing to delete.", SHIFT_UP, "Authorized UNIX"},
        {"menu, F12", "", "X - Exit", F12, ""},
        {"table screen, Ctrl-Right", "c", "Authorized UNIX", CTRL_RIGHT, ""},
    };
    for (const AnyKeyCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = start_at_menu();
        ASSERT_NE(h, nullptr);
        harness_keys(h, c.open);
        ASSERT_TRUE(harness_wait_text(h, c.prompt)) << harness_screen(h);
        int bells = harness_bells(h);
        harness_send(h, c.key);
        if (c.after[0] != '\0') {
            EXPECT_TRUE(harness_wait_text(h, c.after)) << harness_screen(h);
            EXPECT_EQ(harness_screen(h).find(c.prompt), std::string::npos) << harness_screen(h);
            EXPECT_EQ(harness_bells(h), bells);
        } else {
            harness_wait_idle(h);
            EXPECT_NE(harness_screen(h).find(c.prompt), std::string::npos) << harness_screen(h);
            EXPECT_EQ(harness_bells(h), bells + 1);
        }
        harness_stop(h);
    }
}

} // namespace
