// The authorized commands (C) and environment variables (E) screens.
#include <gtest/gtest.h>
#include <unistd.h>

#include "e2e_helpers.h"

using namespace e2e;

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

struct LineCase {
    const char *what;
    bool env;
    std::string before;
    std::vector<Step> steps;
    std::string after;
};

std::vector<LineCase> line_cases() {
    const std::string max = "The maximum number of variables has been reached (100).";
    const std::string too_long =
        "This entry is longer than 76 characters; change it in the file itself.";
    const std::string cmd140(140, 'x'), env100 = "V=" + std::string(98, 'v');
    const std::string cmd76(76, 'y');
    // Lines that would drive the terminal if shown as they are, sorted.
    const std::string hostile = "\233?1h\n\2352;C1\234\n\033[?1h\n\033]0;PWNED\007\ncat\r\033[2J\n";
    // A row per case reads as a table.
    // clang-format off
    return {
        {"cancel writes nothing", false, ABSENT, {{"als{F6}{Esc}", "Lose all"}, {"y"}}, ABSENT},
        {"add creates the file", false, ABSENT, {{"als -l{F6}{F6}"}}, "ls -l\n"},
        {"no change, no write", false, "zeta\nalpha\n\nMid", {{"{F6}"}}, "zeta\nalpha\n\nMid"},
        {"sorted, twins kept", false, "zcat\nBeta\n\na\nls", {{"aLS{F6}{F6}"}},
         "\na\nBeta\nLS\nls\nzcat\n"},
        {"control bytes shown as stand-ins", false, hostile,
         {{"", "?]0;PWNED?", shows({"??1h", "?2;C1?", "?[?1h", "cat??[2J"})}, {"{Esc}"}}, hostile},
        {"control bytes saved as read", false, hostile, {{"aw{F6}{F6}"}}, hostile + "w\n"},
        {"duplicate", false, "ls\n", refused("ls", "An entry for this item already exists."),
         "ls\n"},
        {"blank command", false, ABSENT, refused("   ", "Cannot save empty field."), ABSENT},
        {"env =", true, ABSENT, refused("PATH", "Expression must contain an equal sign (=)"),
         ABSENT},
        {"99 allowed", true, env_lines(99), {{"aZ={F6}{F6}"}}, env_lines(99) + "Z=\n"},
        {"100 refused", true, env_lines(100), {{"a", max}, {" {Esc}"}}, env_lines(100)},
        {"120 kept", true, env_lines(120), {{"eW{F6}{F6}"}}, env_lines(120, 1) + "W1000=0\n"},
        {"140 not edited", false, cmd140 + "\n", {{"e", too_long}, {" aman{F6}{F6}"}},
         "man\n" + cmd140 + "\n"},
        {"env 100 not edited", true, env100 + "\n", {{"e", too_long}, {" aZ=1{F6}{F6}"}},
         env100 + "\nZ=1\n"},
        {"76 edited whole", false, cmd76 + "\n", {{"ez{F6}{F6}"}}, "z" + cmd76.substr(1) + "\n"},
    };
    // clang-format on
}

using EditorsLinesSession = testing::TestWithParam<LineCase>;

TEST_P(EditorsLinesSession, Runs) {
    const LineCase &c = GetParam();
    std::string root = harness_new_root();
    std::string path = root + "/conduvia/config/" + (c.env ? "env" : "commands");
    if (c.before != ABSENT)
        write_file(path, c.before);
    run_screen(root, c.env ? 'e' : 'c',
               c.env ? "UNIX Environment Variables" : "Authorized UNIX Commands", c.steps, c.what);
    EXPECT_EQ(file_bytes(path), c.after) << c.what;
    struct stat st = {};
    stat(path.c_str(), &st);
    EXPECT_TRUE(c.after == ABSENT || (st.st_mtime == OLD_TIME) == (c.after == c.before)) << c.what;
}

INSTANTIATE_TEST_SUITE_P(Cases, EditorsLinesSession, testing::ValuesIn(line_cases()), CaseName());

TEST(EditorsLines, FailedSaveKeepsChangesUntilTheCauseIsMended) {
    for (bool no_directory : {true, false}) {
        std::string root = harness_new_root();
        std::string dir = root + "/conduvia/config", path = dir + "/commands";
        ASSERT_EQ(no_directory ? rmdir(dir.c_str()) : mkdir(path.c_str(), 0755), 0);
        auto mend = [&](Harness *h) {
            EXPECT_EQ(harness_row_plain(h, 2).substr(2, 4), "who ") << no_directory;
            EXPECT_EQ(no_directory ? mkdir(dir.c_str(), 0755) : rmdir(path.c_str()), 0);
        };
        // The path may lose its beginning to make room for the reason.
        std::string error = std::string("/config/commands (") +
                            (no_directory ? "No such file or directory)" : "Is a directory)");
        run_screen(
            root, 'c', "Authorized UNIX Commands",
            {{"awho{F6}{F6}", error, shows({"Could not open: "})}, {" ", "", mend}, {"{F6}"}},
            "mended");
        EXPECT_EQ(file_bytes(path), "who\n") << no_directory;
    }
}

} // namespace

namespace {

TEST(EditorsLines, SecondSessionIsKeptOutWhileTheFirstEdits) {
    std::string root = harness_new_root(), path = root + "/conduvia/config/commands";
    write_file(path, "ls\n");
    write_file(root + "/conduvia/config/.env.avconfig-k1LLed", "left by a save cut short\n");
    Harness *first = start_at_menu({.root = root}), *second = start_at_menu({.root = root});
    ASSERT_TRUE(first != nullptr && second != nullptr);
    harness_type(first, "c");
    ASSERT_TRUE(harness_wait_text(first, "Authorized UNIX Commands"));
    EXPECT_EQ(files_starting(root + "/conduvia/config", "."), std::vector<std::string>{});
    harness_type(second, "c");
    // The note names the first session's process and terminal.
    EXPECT_TRUE(harness_wait_text(second, "Another session (process " +
                                              std::to_string(harness_pid(first)) + " on /dev/pts/"))
        << harness_screen(second);
    EXPECT_EQ(harness_screen(second).find("Authorized"), std::string::npos);
    harness_type(second, " ");
    EXPECT_TRUE(harness_wait_text(second, MENU_TEXT));
    harness_key(first, "Esc");
    quit(first);
    quit(second);
    struct stat st = {};
    EXPECT_EQ(stat(path.c_str(), &st), 0);
    EXPECT_EQ(st.st_mtime, OLD_TIME);
    EXPECT_EQ(file_bytes(path), "ls\n");
}

} // namespace
