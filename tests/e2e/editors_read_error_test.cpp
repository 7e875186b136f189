// A read error while a table screen loads its file: the screen says so, shows
// what it read, refuses every change and never writes the file back.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

std::string numbered(const std::string &prefix, int count) {
    std::string s;
    for (int i = 0; i < count; i++)
        s += prefix + std::to_string(100 + i) + "\n";
    return s;
}

TEST(EditorsReadError, ScreenOpensReadOnlyAndNeverSaves) {
    if (getenv("AV_E2E_PROGRAM") != nullptr)
        GTEST_SKIP() << "the fault shim is built for this machine's programs only";
    const std::string note = "This file could not be read whole, so it cannot be changed here.";
    const std::string ip_line = "alpha           10.0.0.1" + std::string(35, ' ') + "0\n";
    struct Case {
        const char *what;
        char key;
        const char *title;
        const char *file;
        std::string bytes;
        long before;               // bytes read before the first failure
        int times;                 // reads that fail; then the file reads on
        std::string shown, hidden; // on the screen after the load, and not
    };
    const Case cases[] = {
        {"commands, transient error mid-line", 'c', "Authorized UNIX Commands", "commands",
         numbered("cmd", 30), 12, 1, "cmd100", "cmd102"},
        {"commands, error at the start", 'c', "Authorized UNIX Commands", "commands",
         numbered("cmd", 3), 0, 5, "", "cmd100"},
        {"env, error for good", 'e', "UNIX Environment Variables", "env", numbered("V=", 40), 4 * 6,
         1000, "V=103", "V=104"},
        {"ipaddr, transient error mid-line", 'n', "Name To IP Address Table", "ipaddr",
         ip_line + "beta            10.0.0.2\n", 70, 1, "alpha", "beta"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string root = harness_new_root();
        std::string path = root + "/conduvia/config/" + c.file;
        write_file(path, c.bytes);
        auto loaded = [&](Harness *h) {
            const std::string screen = harness_screen(h);
            if (!c.shown.empty()) {
                EXPECT_NE(screen.find(c.shown), std::string::npos) << screen;
            }
            EXPECT_EQ(screen.find(c.hidden), std::string::npos) << screen;
        };
        const std::vector<std::string> env = {
            "LD_PRELOAD=" AV_READ_FAULT_SHIM,
            std::string("AV_FAULT_FILE=/conduvia/config/") + c.file,
            "AV_FAULT_BEFORE=" + std::to_string(c.before),
            "AV_FAULT_TIMES=" + std::to_string(c.times),
            // The sanitizer's runtime would refuse to start behind the shim.
            "ASAN_OPTIONS=verify_asan_link_order=0",
        };
        // Every change is refused with the note: add, edit, delete, save (F6
        // and Ctrl-G); leaving asks nothing, since nothing changed.
        run_screen(root, c.key, c.title,
                   {{"", "Input/output error while reading"},
                    {" ", "", loaded},
                    {"a", note},
                    {" e", note},
                    {" d", note},
                    {" {F6}", note},
                    {" {Ctrl-G}", note},
                    {" {Esc}"}},
                   c.what, env);
        EXPECT_EQ(file_bytes(path), c.bytes);
        struct stat st = {};
        EXPECT_EQ(stat(path.c_str(), &st), 0);
        EXPECT_EQ(st.st_mtime, OLD_TIME) << "written back";
    }
}

} // namespace
