// A file changed by someone else between load and save: the save asks before
// overwriting it; no keeps the screen with its changes and the file as the
// other writer left it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

std::string ip(const std::string &name, const std::string &address) {
    return name + std::string(16 - name.size(), ' ') + address +
           std::string(15 - address.size(), ' ') + std::string(28, ' ') + "0\n";
}

TEST(EditorsOutsideChange, SaveAsksBeforeOverwriting) {
    const std::string question = "The file was changed outside this program. Overwrite it?";
    struct Case {
        const char *what;
        char key;
        const char *title;
        const char *file;
        std::string before;  // ABSENT: no file at load
        std::string add;     // keys of the change made in the screen
        std::string outside; // what the other writer leaves in the file
        bool yes;
        std::string after;
    };
    const std::string outside_ip = "zed             1.1.1.1\n";
    // clang-format off
    const Case cases[] = {
        {"ipaddr append, yes", 'n', "Name To IP Address Table", "ipaddr", ip("a", "10.0.0.1"),
         "ab{Tab}{Tab}10.0.0.2{F6}", ip("a", "10.0.0.1") + outside_ip, true,
         ip("a", "10.0.0.1") + ip("b", "10.0.0.2")},
        {"ipaddr append, no", 'n', "Name To IP Address Table", "ipaddr", ip("a", "10.0.0.1"),
         "ab{Tab}{Tab}10.0.0.2{F6}", ip("a", "10.0.0.1") + outside_ip, false,
         ip("a", "10.0.0.1") + outside_ip},
        {"commands append, no", 'c', "Authorized UNIX Commands", "commands", "ls\n", "awho{F6}",
         "ls\nrm\n", false, "ls\nrm\n"},
        {"commands created, yes", 'c', "Authorized UNIX Commands", "commands", ABSENT, "awho{F6}",
         "rm\n", true, "who\n"},
        {"env same size, no", 'e', "UNIX Environment Variables", "env", "A=1\n", "aB=2{F6}",
         "A=2\n", false, "A=2\n"},
    };
    // clang-format on
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string root = harness_new_root(), path = root + "/conduvia/config/" + c.file;
        if (c.before != ABSENT)
            write_file(path, c.before);
        // Written in place, as an editor or a shell's >> does, just now.
        auto change = [&](Harness *) { std::ofstream(path, std::ios::trunc) << c.outside; };
        std::vector<Step> steps = {{c.add, "", change}, {"{F6}", question}};
        if (c.yes)
            steps.push_back({"y"});
        else
            steps.insert(steps.end(),
                         {{"n", c.title, shows({c.title})}, {"{Esc}", "Lose all changes?"}, {"y"}});
        run_screen(root, c.key, c.title, steps, c.what);
        EXPECT_EQ(file_bytes(path), c.after);
    }
}

} // namespace
