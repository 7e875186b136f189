// The authorized commands (C) and environment variables (E) screens, driven
// through the real program.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <utility>
#include <vector>

#include "editors_helpers.h"

using namespace editors_e2e;

namespace {

const char *const COMMANDS = "Authorized UNIX Commands";
const char *const ENV = "UNIX Environment Variables";
const char *const ABSENT = "<absent>";

std::string env_lines(int count, int first = 0) {
    std::string s;
    for (int i = first; i < count; i++)
        s += "V" + std::to_string(1000 + i) + "=" + std::to_string(i) + "\n";
    return s;
}

TEST(EditorsLines, Sessions) {
    struct Case {
        const char *what;
        bool env;
        std::string before; // ABSENT: no file
        std::vector<Step> steps;
        std::string after;
    };
    const std::string dup = "An entry for this item already exists.";
    const std::string max = "The maximum number of variables has been reached (100).";
    const std::vector<Case> cases = {
        {"cancel writes nothing", false, ABSENT, {{"{Esc}", ""}}, ABSENT},
        {"env cancel writes nothing", true, ABSENT, {{"{Esc}", ""}}, ABSENT},
        {"add creates the file",
         false,
         ABSENT,
         {{"a", "Add Entry"}, {"ls -l{F6}{F6}", ""}},
         "ls -l\n"},
        {"env add", true, ABSENT, {{"a", "Add Entry"}, {"PATH=/bin{F6}{F6}", ""}}, "PATH=/bin\n"},
        {"entry is trimmed", false, ABSENT, {{"a", "Add Entry"}, {"  who  {F6}{F6}", ""}}, "who\n"},
        {"no change, no write", false, "zeta\nalpha\n\nMid", {{"{F6}", ""}}, "zeta\nalpha\n\nMid"},
        {"unchanged edit is no change",
         true,
         "B=1\nA=2\n",
         {{"e", "Edit Entry"}, {"{F6}{F6}", ""}},
         "B=1\nA=2\n"},
        {"change sorts without case, blank line kept",
         false,
         "zcat\nBeta\n\nalpha\nps",
         {{"a", "Add Entry"}, {"Mail{F6}{F6}", ""}},
         "\nalpha\nBeta\nMail\nps\nzcat\n"},
        {"letter case makes a new entry",
         false,
         "ls\n",
         {{"a", "Add Entry"}, {"LS{F6}{F6}", ""}},
         "LS\nls\n"},
        {"duplicate refused",
         false,
         "ls\n",
         {{"a", "Add Entry"},
          {"ls{F6}", dup},
          {" {Esc}", "Lose changes to this entry?"},
          {"y{Esc}", ""}},
         "ls\n"},
        {"duplicate after trimming",
         true,
         "A=1\n",
         {{"a", "Add Entry"}, {" A=1 {F6}", dup}, {" {Esc}", "Lose changes"}, {"y{Esc}", ""}},
         "A=1\n"},
        {"empty refused",
         false,
         ABSENT,
         {{"a", "Add Entry"}, {"{F6}", "Cannot save empty field."}, {" {Esc}{Esc}", ""}},
         ABSENT},
        {"blanks only refused",
         false,
         ABSENT,
         {{"a", "Add Entry"},
          {"   {F6}", "Cannot save empty field."},
          {" {Esc}", "Lose changes"},
          {"y{Esc}", ""}},
         ABSENT},
        {"env needs =",
         true,
         ABSENT,
         {{"a", "Add Entry"},
          {"PATH{F6}", "Expression must contain an equal sign (=)"},
          {" {Esc}", "Lose changes"},
          {"y{Esc}", ""}},
         ABSENT},
        {"99 variables: add opens the dialog",
         true,
         env_lines(99),
         {{"a", "Add Entry"}, {"Z={F6}{F6}", ""}},
         env_lines(99) + "Z=\n"},
        {"100 variables: add refused",
         true,
         env_lines(100),
         {{"a", max}, {" {Esc}", ""}},
         env_lines(100)},
        {"120 variables kept whole",
         true,
         env_lines(120),
         {{"a", max}, {" e", "Edit Entry"}, {"W{F6}{F6}", ""}},
         env_lines(120, 1) + "W1000=0\n"},
        {"delete after search, keep on no",
         false,
         "alpha\ngamma\nbeta\n",
         {{"s", "Search For Entry"},
          {"G\r", "No entry was found for 'G'"},
          {" s", "Search For Entry"},
          {"gam\r", ""},
          {"d", "Delete this entry?"},
          {"y{Esc}", "Lose all changes?"},
          {"n{F6}", ""}},
         "alpha\nbeta\n"},
        {"cancel after a change",
         false,
         "a\nb\n",
         {{"d", "Delete this entry?"}, {"y{Esc}", "Lose all changes?"}, {"y", ""}},
         "a\nb\n"},
    };
    for (const Case &c : cases) {
        std::string root = harness_new_root();
        std::string path = config_path(root, c.env ? "env" : "commands");
        if (c.before != ABSENT)
            write_file(path, c.before);
        Harness *h = open_screen(root, c.env ? 'e' : 'c', c.env ? ENV : COMMANDS);
        ASSERT_NE(h, nullptr) << c.what;
        run_steps(h, c.steps, c.what);
        exit_program(h, c.what);
        if (c.after == ABSENT) {
            EXPECT_FALSE(file_exists(path)) << c.what;
            continue;
        }
        EXPECT_EQ(read_file(path), c.after) << c.what;
        struct stat st = {};
        stat(path.c_str(), &st);
        EXPECT_EQ(st.st_mtime == OLD_TIME, c.after == c.before) << c.what;
    }
}

TEST(EditorsLines, LayoutOfAnEmptyScreen) {
    for (const char *title : {COMMANDS, ENV}) {
        Harness *h = open_screen(harness_new_root(), title == ENV ? 'e' : 'c', title);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(plain_row(h, 0).find(title), (80 - std::string(title).size()) / 2);
        EXPECT_TRUE(harness_reverse(h, 0, 0));
        std::string legend = plain_row(h, 23);
        EXPECT_EQ(legend.find("A-Add, D-Delete, E-Edit, S-Search, F6/^G-Save, "), 12u) << legend;
        EXPECT_TRUE(legend.find("ESC-Cancel") == 59 || legend.find("F5-Cancel") == 59) << legend;
        EXPECT_TRUE(harness_reverse(h, 23, 12));  // "A" is a key
        EXPECT_FALSE(harness_reverse(h, 23, 13)); // "-Add, " are words
        EXPECT_TRUE(harness_reverse(h, 2, 2));    // the empty list's highlight bar
        EXPECT_EQ(plain_row(h, 2).substr(1, 76), std::string(76, ' '));
        // The entry dialog: the environment's is a row taller, for its note.
        bool env = title == ENV;
        run_steps(h, {{"a", "Add Entry"}}, title);
        EXPECT_EQ(plain_row(h, 8).find("Add Entry"), 34u);
        EXPECT_EQ(plain_row(h, 9).find(env ? "Variable: " : "Command: "), 2u);
        EXPECT_EQ(plain_row(h, env ? 12 : 11).find("F6 or ^G-Save, "), 26u);
        EXPECT_EQ(plain_row(h, 11).find("NOTE: Enter variable and value in the form:  NAME=value"),
                  env ? 12u : std::string::npos);
        EXPECT_EQ(harness_cursor(h), std::make_pair(9, env ? 12 : 11));
        press(h, "{Esc}{Esc}");
        exit_program(h);
    }
}

TEST(EditorsLines, FailedSaveKeepsChangesUntilTheCauseIsMended) {
    enum Cause { NO_DIRECTORY, PATH_IS_DIRECTORY };
    for (Cause cause : {NO_DIRECTORY, PATH_IS_DIRECTORY}) {
        std::string root = harness_new_root();
        std::string dir = root + "/conduvia/config", path = config_path(root, "commands");
        ASSERT_EQ(cause == NO_DIRECTORY ? rmdir(dir.c_str()) : mkdir(path.c_str(), 0755), 0);
        Harness *h = open_screen(root, 'c', COMMANDS);
        ASSERT_NE(h, nullptr);
        std::string message =
            std::string("Could not open: ") + AV_PRODUCT_ROOT + "/conduvia/config/commands";
        run_steps(h,
                  {{"a", "Add Entry"},
                   {"who{F6}", ""},
                   {"a", "Add Entry"},
                   {"ls{F6}", ""},
                   {"{F6}", message},
                   {" ", ""}},
                  "failed save");
        EXPECT_NE(plain_screen(h).find(COMMANDS), std::string::npos) << cause;
        EXPECT_EQ(plain_row(h, 2).substr(2, 3), "ls ") << cause;
        EXPECT_EQ(plain_row(h, 3).substr(2, 4), "who ") << cause;
        ASSERT_EQ(cause == NO_DIRECTORY ? mkdir(dir.c_str(), 0755) : rmdir(path.c_str()), 0);
        press(h, "{F6}");
        exit_program(h);
        EXPECT_EQ(read_file(path), "ls\nwho\n") << cause;
    }
}

} // namespace
