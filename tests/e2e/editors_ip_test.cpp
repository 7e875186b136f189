// The name-to-IP address table (N) and its entry dialog.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

std::string fixed(const std::string &name, const std::string &address, const std::string &pc,
                  int kind) {
    auto pad = [](const std::string &s, size_t n) { return s + std::string(n - s.size(), ' '); };
    return pad(name, 15) + " " + pad(address, 15) + "  " + pad(pc, 25) + " " +
           std::to_string(kind) + "\n";
}

// Adds an entry: the name, the kind's radio button, then that kind's field.
Step add(const std::string &name, int kind, const std::string &value) {
    const char *to_kind[] = {"{Tab}{Tab}", "{Tab}{Tab}{Tab} ", "{Tab}{Tab}{Tab}{Tab} "};
    return {"a" + name + to_kind[kind] + value + "{F6}", ""};
}

const std::string ALPHA = fixed("alpha", "10.0.0.1", "", 0);

// Lines that would drive the terminal if shown as they are (C1 CSI and OSC,
// then CSI, OSC, RIS and clear), in the order a save sorts them.
const std::string HOSTILE = fixed("\233?1h", "", "", 0) + fixed("\2352;C1\234", "", "", 0) +
                            fixed("\033[?1h", "", "", 0) + fixed("\033]2;PWNED\007", "", "", 0);
const std::string ZETA = fixed("zeta", "\033c", "pc\r\033[2J", 0);

// A name with UTF-8 and stray bytes from 0xA0 up: on a UTF-8 terminal each
// byte is one "?"; elsewhere the terminal gets the bytes as they are.
const std::string HIGH_NAME = "caf\xc3\xa9\xa0\xff";
const std::string HIGH = fixed(HIGH_NAME, "10.0.0.3", "", 0);

std::function<void(Harness *)> sent_bytes(const std::string &bytes, bool present) {
    return [bytes, present](Harness *h) {
        EXPECT_EQ(harness_output(h).find(bytes) != std::string::npos, present);
    };
}

struct IpCase {
    const char *what;
    std::string before;
    std::vector<Step> steps;
    std::string after;
    bool hawser = false;
    std::vector<std::string> env = {};
    gid_t group = 100; // of a rewritten file that existed
};

std::vector<IpCase> ip_cases() {
    const std::string unsorted = "zed             1.1.1.1\nalpha           10.0.0.1  \n";
    const std::vector<Step> remove = {{"d", "Delete this entry?"}, {"y{F6}"}};
    const std::string beta = "Beta" + std::string(29, ' ') + "BETAPC" + std::string(20, ' ') + "1";
    // A row per case reads as a table.
    // clang-format off
    return {
        {"empty, cancel", ABSENT, {{"e", "There is nothing to edit."}, {" {Esc}"}}, ABSENT},
        {"fixed columns, sorted",
         "gamma           10.1.1.1\nabc\n" + beta + "\nab              1.2.3.4   \n",
         {add("alpha", 0, "10.0.0.1"), {"{F6}"}},
         fixed("ab", "1.2.3.4", "", 0) + fixed("abc", "", "", 0) + ALPHA +
         fixed("Beta", "", "BETAPC", 1) + fixed("gamma", "10.1.1.1", "", 0)},
        {"unchanged", unsorted, {{"e{F6}{F6}"}}, unsorted},
        {"new file", ABSENT, {{"aa b/c{Tab}{Tab}1x 2.3{F6}{F6}"}}, fixed("abc", "12.3", "", 0)},
        {"hawser not installed", ALPHA,
         {{add("pc", 1, "HWS").keys, "The Ardovane PC Hawser software is not installed"},
          {" {Esc}", "Lose changes"}, {"y{Esc}"}}, ALPHA},
        {"hawser, samba, case", ALPHA,
         {add("Alpha", 0, "9.9.9.9"), add("pc", 1, "HWS"), add("pd", 2, "SMB"), {"{F6}"}},
         ALPHA + fixed("Alpha", "9.9.9.9", "", 0) + fixed("pc", "", "HWS", 1) +
         fixed("pd", "", "SMB", 2),
         true},
        {"edit: own name only", ALPHA + fixed("beta", "10.0.0.2", "", 0),
         {{"e{Tab}{Tab}9{F6}"}, {"ebeta{Ctrl-E}{F6}", "An entry for this name already exists."},
          {" {Esc}", "Lose changes"}, {"y{F6}"}},
         fixed("alpha", "90.0.0.1", "", 0) + fixed("beta", "10.0.0.2", "", 0)},
        {"control bytes shown as stand-ins", HOSTILE + ZETA,
         {{"", "?]2;PWNED?", shows({"??1h", "?2;C1?", "?[?1h", "?c", "pc??[2J"})}, {"{Esc}"}},
         HOSTILE + ZETA},
        {"control bytes saved as read", HOSTILE + ZETA, {add("mid", 0, "10.0.0.9"), {"{F6}"}},
         HOSTILE + fixed("mid", "10.0.0.9", "", 0) + ZETA},
        {"high bytes as ? under UTF-8", HIGH,
         {{"", "caf???? ", sent_bytes("caf\xc3", false)}, {"{Esc}"}}, HIGH, false, {"LANG=C.UTF-8"}},
        {"high bytes as they are under C", HIGH,
         {{"", "10.0.0.3", sent_bytes(HIGH_NAME, true)}, {"{Esc}"}}, HIGH, false, {"LANG=C"}},
        {"no status program", ALPHA, remove, "", false, {"QXSTATPROG"}, 100},
        {"status fails", ALPHA, remove, "", false, {"QXSTATPROG=/bin/false"}, 0},
    };
    // clang-format on
}

using EditorsIpSession = testing::TestWithParam<IpCase>;

TEST_P(EditorsIpSession, Runs) {
    const IpCase &c = GetParam();
    std::string root = harness_new_root();
    std::string path = root + "/conduvia/config/ipaddr";
    if (c.before != ABSENT) {
        write_file(path, c.before);
        ASSERT_EQ(chown(path.c_str(), 65534, 100), 0);
        ASSERT_EQ(chmod(path.c_str(), 0600), 0);
    }
    std::string prog = root + "/hawser/prog", touch = " && touch " + prog + "/avhws";
    ASSERT_EQ(system(("mkdir -p " + prog + (c.hawser ? touch : "")).c_str()), 0);
    run_screen(root, 'n', "Name To IP Address Table", c.steps, c.what, c.env);
    EXPECT_EQ(file_bytes(path), c.after) << c.what;
    struct stat st = {};
    if (c.after == ABSENT || stat(path.c_str(), &st) != 0)
        return;
    bool same = c.after == c.before;
    EXPECT_EQ(st.st_mtime == OLD_TIME, same) << c.what;
    EXPECT_EQ(st.st_mode & 07777, same ? 0600u : 0666u) << c.what;
    EXPECT_EQ(st.st_uid, same ? 65534u : 0u) << c.what;
    EXPECT_TRUE(c.before == ABSENT || st.st_gid == c.group) << c.what;
}

INSTANTIATE_TEST_SUITE_P(Cases, EditorsIpSession, testing::ValuesIn(ip_cases()), CaseName());

} // namespace
