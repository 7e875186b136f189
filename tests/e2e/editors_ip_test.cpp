// The name-to-IP address table (N) and its entry dialog, driven through the
// real program.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "editors_helpers.h"

using namespace editors_e2e;

namespace {

const char *const TITLE = "Name To IP Address Table";
const char *const LOSE = "Lose changes to this entry?";

std::string fixed(const std::string &name, const std::string &address, const std::string &pc,
                  int kind) {
    auto pad = [](const std::string &s, size_t n) { return s + std::string(n - s.size(), ' '); };
    return pad(name, 15) + " " + pad(address, 15) + "  " + pad(pc, 25) + " " +
           std::to_string(kind) + "\n";
}

// Keys that fill the add dialog: the name, then the kind chosen on its radio
// button (the focus then moves on to that kind's field) and its value.
std::string entry_keys(const std::string &name, int kind, const std::string &value) {
    const char *to_kind[] = {"{Tab}{Tab}", "{Tab}{Tab}{Tab} ", "{Tab}{Tab}{Tab}{Tab} "};
    return name + to_kind[kind] + value;
}

// Steps that run the add dialog into a refusal and back out of it unchanged.
std::vector<Step> refused(const std::string &keys, const std::string &message) {
    return {{"a", "Add Entry"}, {keys + "{F6}", message}, {" {Esc}", LOSE}, {"y{Esc}", ""}};
}

const std::string ALPHA = fixed("alpha", "10.0.0.1", "", 0);

TEST(EditorsIp, Sessions) {
    struct Case {
        const char *what;
        std::string before; // empty: no file
        std::vector<Step> steps;
        std::string after; // equal to before: untouched
        bool hawser = false;
        std::vector<std::string> env = {};
        gid_t group = 100; // the group of a rewritten file that existed
    };
    const std::vector<Case> cases = {
        {"cancel writes nothing", "", {{"{Esc}", ""}}, ""},
        {"nothing to edit or delete",
         "",
         {{"e", "There is nothing to edit."},
          {" d", "There is nothing to delete."},
          {" {Esc}", ""}},
         ""},
        {"add to a new file",
         "",
         {{"a", "Add Entry"}, {entry_keys("alpha", 0, "10.0.0.1") + "{F6}{F6}", ""}},
         ALPHA},
        {"other spacings come back fixed and sorted",
         "gamma           10.1.1.1\nabc\nBeta" + std::string(29, ' ') + "BETAPC" +
             std::string(20, ' ') + "1\nab              1.2.3.4   \n",
         {{"a", "Add Entry"}, {entry_keys("alpha", 0, "10.0.0.1") + "{F6}{F6}", ""}},
         fixed("ab", "1.2.3.4", "", 0) + fixed("abc", "", "", 0) + ALPHA +
             fixed("Beta", "", "BETAPC", 1) + fixed("gamma", "10.1.1.1", "", 0)},
        {"unchanged edit and save write nothing",
         "zed             1.1.1.1\nalpha           10.0.0.1  \n",
         {{"e", "Edit Entry"}, {"{F6}{F6}", ""}},
         "zed             1.1.1.1\nalpha           10.0.0.1  \n"},
        {"refused characters",
         "",
         {{"a", "Add Entry"}, {"a b/c{Tab}{Tab}1x 2.3{F6}{F6}", ""}},
         fixed("abc", "12.3", "", 0)},
        {"empty name", ALPHA, refused(entry_keys("", 0, "1.2.3.4"), "No name was specified."),
         ALPHA},
        {"no address", ALPHA,
         refused(entry_keys("pc", 0, ""), "A fixed IP address was not specified."), ALPHA},
        {"hawser not installed", ALPHA,
         refused(entry_keys("pc", 1, "HWS"),
                 "The Ardovane PC Hawser software is not installed on this system."),
         ALPHA},
        {"hawser without name", ALPHA,
         refused(entry_keys("pc", 1, ""), "A PC name was not specified for Hawser."), ALPHA, true},
        {"samba without name", ALPHA,
         refused(entry_keys("pc", 2, ""), "A PC name was not specified for Samba."), ALPHA},
        {"duplicate name", ALPHA,
         refused(entry_keys("alpha", 0, "1.2.3.4"), "An entry for this name already exists."),
         ALPHA},
        {"hawser installed",
         ALPHA,
         {{"a", "Add Entry"}, {entry_keys("pc", 1, "HWS") + "{F6}{F6}", ""}},
         ALPHA + fixed("pc", "", "HWS", 1),
         true},
        {"samba needs nothing",
         ALPHA,
         {{"a", "Add Entry"}, {entry_keys("pc", 2, "SMB") + "{F6}{F6}", ""}},
         ALPHA + fixed("pc", "", "SMB", 2)},
        {"letter case makes a new name",
         ALPHA,
         {{"a", "Add Entry"}, {entry_keys("Alpha", 0, "9.9.9.9") + "{F6}{F6}", ""}},
         ALPHA + fixed("Alpha", "9.9.9.9", "", 0)},
        {"edit keeps its own name, not another's",
         ALPHA + fixed("beta", "10.0.0.2", "", 0),
         {{"e", "Edit Entry"},
          {"{Tab}{Tab}9{F6}", ""},
          {"e", "Edit Entry"},
          {"beta{Ctrl-E}{F6}", "An entry for this name already exists."},
          {" {Esc}", LOSE},
          {"y{F6}", ""}},
         fixed("alpha", "90.0.0.1", "", 0) + fixed("beta", "10.0.0.2", "", 0)},
        {"delete, no status program: the group stays",
         ALPHA,
         {{"d", "Delete this entry?"}, {"y{F6}", ""}},
         "",
         false,
         {"QXSTATPROG"},
         100},
        {"failing status program: the real group",
         ALPHA,
         {{"d", "Delete this entry?"}, {"y{F6}", ""}},
         "",
         false,
         {"QXSTATPROG=/bin/false"},
         0},
    };
    for (const Case &c : cases) {
        std::string root = harness_new_root();
        std::string path = config_path(root, "ipaddr");
        if (!c.before.empty()) {
            write_file(path, c.before);
            ASSERT_EQ(chown(path.c_str(), 65534, 100), 0);
            ASSERT_EQ(chmod(path.c_str(), 0600), 0);
        }
        if (c.hawser) {
            std::string dir = root + "/hawser/prog";
            ASSERT_EQ(system(("mkdir -p " + dir + " && touch " + dir + "/avhws").c_str()), 0);
        }
        Harness *h = open_screen(root, 'n', TITLE, c.env);
        ASSERT_NE(h, nullptr) << c.what;
        run_steps(h, c.steps, c.what);
        exit_program(h, c.what);
        if (c.before.empty() && c.after.empty()) {
            EXPECT_FALSE(file_exists(path)) << c.what;
            continue;
        }
        EXPECT_EQ(read_file(path), c.after) << c.what;
        struct stat st = {};
        ASSERT_EQ(stat(path.c_str(), &st), 0) << c.what;
        if (c.after == c.before) {
            EXPECT_EQ(st.st_mtime, OLD_TIME) << c.what;
            EXPECT_EQ(st.st_mode & 07777, 0600u) << c.what;
            continue;
        }
        EXPECT_EQ(st.st_uid, 0u) << c.what;
        EXPECT_EQ(st.st_mode & 07777, 0666u) << c.what;
        if (!c.before.empty()) {
            EXPECT_EQ(st.st_gid, c.group) << c.what;
        }
    }
}

TEST(EditorsIp, LayoutAndFocusOrder) {
    // Screen positions (the dialog stands at row 8, column 8): the name
    // field, radio buttons 0..2 (cursor on the middle character), and the
    // value fields of kinds 0..2.
    const std::pair<int, int> name = {9, 55};
    const std::pair<int, int> radio[] = {{11, 11}, {12, 11}, {13, 11}};
    const std::pair<int, int> value[] = {{11, 48}, {12, 48}, {13, 48}};
    struct Case {
        int kind;
        std::vector<std::pair<int, int>> stops; // from the name, Tab after Tab
        std::pair<int, int> back_from_name;
    };
    const std::vector<Case> cases = {
        {0, {name, radio[0], value[0], radio[1], radio[2], name}, radio[2]},
        {1, {name, radio[0], radio[1], value[1], radio[2], name}, radio[2]},
        {2, {name, radio[0], radio[1], radio[2], value[2], name}, value[2]},
    };
    for (const Case &c : cases) {
        std::string root = harness_new_root();
        write_file(config_path(root, "ipaddr"),
                   fixed("pc", c.kind == 0 ? "1.2.3.4" : "", c.kind == 0 ? "" : "NAME", c.kind));
        Harness *h = open_screen(root, 'n', TITLE);
        ASSERT_NE(h, nullptr);
        std::string heads = plain_row(h, 1);
        EXPECT_EQ(heads.substr(11, 4) + heads.substr(27, 10) + heads.substr(44, 7),
                  "NameIP AddressPC Name");
        EXPECT_EQ(plain_row(h, 0).find(TITLE), 28u);
        run_steps(h, {{"e", "Edit Entry"}}, "edit");
        for (size_t i = 0; i < c.stops.size(); i++) {
            press(h, i > 0 ? "{Tab}" : "");
            harness_wait_quiet(h);
            EXPECT_EQ(harness_cursor(h), c.stops[i]) << "kind " << c.kind << " stop " << i;
        }
        press(h, "{BackTab}");
        harness_wait_quiet(h);
        EXPECT_EQ(harness_cursor(h), c.back_from_name) << "kind " << c.kind;
        press(h, "{Esc}{Esc}"); // nothing changed: neither asks
        exit_program(h);
    }
}

} // namespace
