// Saves of the three table screens on a full file system: the old file stays
// whole, the screen stays open, and the changes are written once there is room.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <filesystem>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

TEST(EditorsSave, FullFileSystemKeepsOldFileAndScreenUntilThereIsRoom) {
    // The small file systems live in this test's own mount namespace.
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    const std::string config = AV_PRODUCT_ROOT "/conduvia/config/";
    const std::string alpha = "alpha           10.0.0.1\n";
    struct Case {
        char key;
        const char *title;
        const char *file;
        std::string old, keys, error, after;
    };
    const Case cases[] = {
        // ipaddr is a link to a file elsewhere, which a save must not follow.
        {'n', "Name To IP Address Table", "ipaddr", alpha, "abeta{Tab}{Tab}10.0.0.2{F6}",
         "Error writing IP address file for save!",
         "alpha           10.0.0.1" + std::string(35, ' ') + "0\nbeta            10.0.0.2" +
             std::string(35, ' ') + "0\n"},
        {'c', "Authorized UNIX Commands", "commands", "ls\n", "awho{F6}",
         "Could not write: " + config + "commands", "ls\nwho\n"},
        {'e', "UNIX Environment Variables", "env", "A=1\n", "aB=2{F6}",
         "Could not write: " + config + "env", "A=1\nB=2\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.file);
        std::string root = harness_new_root(), dir = root + "/conduvia/config";
        std::string path = dir + "/" + c.file, old = path;
        ASSERT_EQ(mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
        if (c.key == 'n') {
            old = root + "/ipaddr.elsewhere";
            ASSERT_EQ(symlink(old.c_str(), path.c_str()), 0);
        }
        write_file(old, c.old);
        std::ofstream(dir + "/filler") << std::string(1 << 20, 'f');
        auto mend = [&](Harness *h) {
            EXPECT_TRUE(harness_wait_text(h, c.title)) << "the screen stays open";
            EXPECT_EQ(file_bytes(old), c.old);
            EXPECT_EQ(files_starting(dir, "."), std::vector<std::string>{});
            std::filesystem::remove(dir + "/filler");
        };
        run_screen(root, c.key, c.title, {{c.keys + "{F6}", c.error}, {" ", "", mend}, {"{F6}"}},
                   c.file);
        EXPECT_EQ(file_bytes(path), c.after);
        EXPECT_EQ(file_bytes(old), c.key == 'n' ? c.old : c.after);
        EXPECT_EQ(files_starting(dir, "."), std::vector<std::string>{});
        umount(dir.c_str());
    }
}

} // namespace
