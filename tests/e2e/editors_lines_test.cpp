// The authorized commands (C) and environment variables (E) screens.
#include <gtest/gtest.h>
#include <unistd.h>

#include "editors_helpers.h"

using namespace editors_e2e;

namespace {

std::string env_lines(int count, int first = 0) {
    std::string s;
    for (int i = first; i < count; i++)
        s += "V" + std::to_string(1000 + i) + "=" + std::to_string(i) + "\n";
    return s;
}

// Refused by the add dialog with message, then backed out of unchanged.
std::vector<Step> refused(const std::string &keys, const std::string &message) {
    return {{"a" + keys + "{F6}", message}, {" {Esc}", "Lose changes"}, {"y{Esc}", ""}};
}

TEST(EditorsLines, Sessions) {
    struct Case {
        const char *what;
        bool env;
        std::string before;
        std::vector<Step> steps;
        std::string after;
    };
    const std::string max = "The maximum number of variables has been reached (100).";
    // Lines that would drive the terminal if shown as they are, sorted.
    const std::string hostile = "\233?1h\n\2352;C1\234\n\033[?1h\n\033]0;PWNED\007\ncat\r\033[2J\n";
    const std::vector<Case> cases = {
        {"cancel writes nothing", false, ABSENT, {{"als{F6}{Esc}", "Lose all"}, {"y"}}, ABSENT},
        {"add creates the file", false, ABSENT, {{"als -l{F6}{F6}"}}, "ls -l\n"},
        {"no change, no write", false, "zeta\nalpha\n\nMid", {{"{F6}"}}, "zeta\nalpha\n\nMid"},
        {"sorted, twins kept",
         false,
         "zcat\nBeta\n\na\nls",
         {{"aLS{F6}{F6}"}},
         "\na\nBeta\nLS\nls\nzcat\n"},
        {"control bytes shown as stand-ins",
         false,
         hostile,
         {{"", "?]0;PWNED?", shows({"??1h", "?2;C1?", "?[?1h", "cat??[2J"})}, {"{Esc}"}},
         hostile},
        {"control bytes saved as read", false, hostile, {{"aw{F6}{F6}"}}, hostile + "w\n"},
        {"duplicate", false, "ls\n", refused("ls", "An entry for this item already exists."),
         "ls\n"},
        {"blank command", false, ABSENT, refused("   ", "Cannot save empty field."), ABSENT},
        {"env =", true, ABSENT, refused("PATH", "Expression must contain an equal sign (=)"),
         ABSENT},
        {"99 allowed", true, env_lines(99), {{"aZ={F6}{F6}"}}, env_lines(99) + "Z=\n"},
        {"100 refused", true, env_lines(100), {{"a", max}, {" {Esc}"}}, env_lines(100)},
        {"120 kept", true, env_lines(120), {{"eW{F6}{F6}"}}, env_lines(120, 1) + "W1000=0\n"},
    };
    for (const Case &c : cases) {
        std::string root = harness_new_root();
        std::string path = root + "/conduvia/config/" + (c.env ? "env" : "commands");
        if (c.before != ABSENT)
            write_file(path, c.before);
        run_screen(root, c.env ? 'e' : 'c',
                   c.env ? "UNIX Environment Variables" : "Authorized UNIX Commands", c.steps,
                   c.what);
        EXPECT_EQ(read_file(path), c.after) << c.what;
        struct stat st = {};
        stat(path.c_str(), &st);
        EXPECT_TRUE(c.after == ABSENT || (st.st_mtime == OLD_TIME) == (c.after == c.before))
            << c.what;
    }
}

TEST(EditorsLines, FailedSaveKeepsChangesUntilTheCauseIsMended) {
    for (bool no_directory : {true, false}) {
        std::string root = harness_new_root();
        std::string dir = root + "/conduvia/config", path = dir + "/commands";
        ASSERT_EQ(no_directory ? rmdir(dir.c_str()) : mkdir(path.c_str(), 0755), 0);
        auto mend = [&](Harness *h) {
            EXPECT_EQ(harness_row_plain(h, 2).substr(2, 4), "who ") << no_directory;
            EXPECT_EQ(no_directory ? mkdir(dir.c_str(), 0755) : rmdir(path.c_str()), 0);
        };
        std::string error = std::string("Could not open: ") + AV_PRODUCT_ROOT + "/conduvia/config";
        run_screen(root, 'c', "Authorized UNIX Commands",
                   {{"awho{F6}{F6}", error + "/commands"}, {" ", "", mend}, {"{F6}"}}, "mended");
        EXPECT_EQ(read_file(path), "who\n") << no_directory;
    }
}

} // namespace
