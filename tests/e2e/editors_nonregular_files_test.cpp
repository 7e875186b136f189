// A FIFO, a directory or a device in place of every configuration file and
// of the documentation: each screen treats it as a file that cannot be
// opened, at once, and the program goes on.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

TEST(EditorsNonRegularFiles, OpenFailureAtOnceAndTheProgramGoesOn) {
    using Make = int (*)(const std::string &path);
    const std::pair<const char *, Make> kinds[] = {
        {"FIFO", [](const std::string &p) { return mkfifo(p.c_str(), 0666); }},
        {"directory", [](const std::string &p) { return mkdir(p.c_str(), 0755); }},
        {"/dev/zero", [](const std::string &p) { return symlink("/dev/zero", p.c_str()); }},
    };
    // Menu key, what the screen shows when it opens, and the keys that then
    // prove the list empty and leave.
    const std::vector<std::vector<std::string>> screens = {
        {"n", "Name To IP Address Table", "e", "There is nothing to edit.", " {Esc}"},
        {"c", "Authorized UNIX Commands", "e", "There is nothing to edit.", " {Esc}"},
        {"e", "UNIX Environment Variables", "d", "There is nothing to delete.", " {Esc}"},
        // The path may lose its beginning to make room for the reason.
        {"?", "/conduvia/doc (", "", "", " "},
    };
    for (const auto &[kind, make] : kinds) {
        std::string root = harness_new_root();
        for (const char *file : {"/conduvia/config/ipaddr", "/conduvia/config/commands",
                                 "/conduvia/config/env", "/conduvia/doc"})
            ASSERT_EQ(make(root + file), 0) << kind << file;
        Harness *h = start_at_menu({.root = root});
        ASSERT_NE(h, nullptr);
        for (const auto &screen : screens) {
            harness_type(h, screen[0]);
            // Within a second; before, a FIFO held the program for good and
            // /dev/zero filled its memory.
            EXPECT_TRUE(harness_wait_text(h, screen[1], 1000)) << kind << "\n" << harness_screen(h);
            harness_keys(h, screen[2]);
            EXPECT_TRUE(harness_wait_text(h, screen[3])) << kind << " " << screen[1];
            harness_keys(h, screen[4]);
            EXPECT_TRUE(harness_wait_text(h, MENU_TEXT)) << kind << "\n" << harness_screen(h);
        }
        quit(h);
    }
}

} // namespace
