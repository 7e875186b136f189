// How the three table screens save, as the administrator sees it: links to
// files elsewhere kept, hard links kept, directories that take no new file,
// refused owner changes and full disks named in the error box, and the old
// file whole after every failure.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "e2e_helpers.h"
#include "support/support.h"

using namespace e2e;

namespace {

namespace fs = std::filesystem;

constexpr uid_t NOBODY = 65534;
constexpr gid_t DAEMON = 1;

std::string ip_line(const std::string &name, const std::string &address) {
    return name + std::string(16 - name.size(), ' ') + address +
           std::string(43 - address.size(), ' ') + "0\n";
}

// One entry added to each screen: its file before and after, the keys that
// add it (the screen's own save still to come), and the error texts of a
// failed open and a failed write, up to the path.
struct Screen {
    char key;
    const char *title, *file;
    std::string before, add, after, open_error, write_error;
};

const std::vector<Screen> &screens() {
    static const std::vector<Screen> all = {
        {'n', "Name To IP Address Table", "ipaddr", ip_line("alpha", "10.0.0.1"),
         "abeta{Tab}{Tab}10.0.0.2{F6}", ip_line("alpha", "10.0.0.1") + ip_line("beta", "10.0.0.2"),
         "Error opening IP address file for save! (", "Error writing IP address file for save! ("},
        {'c', "Authorized UNIX Commands", "commands", "ls\n", "awho{F6}", "ls\nwho\n",
         "Could not open: ", "Could not write: "},
        {'e', "UNIX Environment Variables", "env", "A=1\n", "aB=2{F6}", "A=1\nB=2\n",
         "Could not open: ", "Could not write: "},
    };
    return all;
}

// The steps of a save (the key `save`) that fails with `error`: the old file is still whole
// and no temporary file is left (checked by `kept`), the screen stays open
// with its changes, and leaving it asks to lose them.
std::vector<Step> failing_save(const Screen &s, const std::string &error,
                               std::function<void(Harness *)> kept,
                               const std::string &save = "{F6}") {
    return {{save, error, kept}, {" ", s.title}, {"{Esc}", "Lose all changes?"}, {"y"}};
}

struct stat status_of(const std::string &path) {
    struct stat st = {};
    EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
    return st;
}

std::string make_file(const std::string &path, const std::string &bytes, uid_t uid, gid_t gid,
                      mode_t mode) {
    fs::create_directories(fs::path(path).parent_path());
    write_file(path, bytes);
    EXPECT_EQ(chown(path.c_str(), uid, gid), 0);
    EXPECT_EQ(chmod(path.c_str(), mode), 0);
    return path;
}

TEST(EditorsSave, RootsLinkIsKeptAndItsTargetRewritten) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root();
        std::string link = root + "/conduvia/config/" + s.file;
        std::string target = make_file(root + "/cm/" + s.file, s.before, NOBODY, DAEMON, 0640);
        ASSERT_EQ(symlink(target.c_str(), link.c_str()), 0);
        run_screen(root, s.key, s.title, {{s.add + "{F6}"}}, s.file);
        EXPECT_TRUE(fs::is_symlink(link)) << "the link stays";
        EXPECT_EQ(fs::read_symlink(link), target);
        EXPECT_EQ(file_bytes(target), s.after);
        struct stat st = status_of(target);
        // The table is saved owned by root with mode 0666, its group kept.
        EXPECT_EQ(st.st_uid, s.key == 'n' ? 0 : NOBODY);
        EXPECT_EQ(st.st_gid, DAEMON);
        EXPECT_EQ(st.st_mode & 07777, s.key == 'n' ? 0666u : 0640u);
        EXPECT_EQ(files_starting(root + "/cm", "."), std::vector<std::string>{});
        EXPECT_EQ(files_starting(root + "/conduvia/config", "."), std::vector<std::string>{});
    }
}

TEST(EditorsSave, HardLinkedFileIsRewrittenForAllItsNames) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root();
        std::string path = make_file(root + "/conduvia/config/" + s.file, s.before, 0, 0, 0644);
        std::string other = root + "/backup-name";
        ASSERT_EQ(link(path.c_str(), other.c_str()), 0);
        ino_t inode = status_of(path).st_ino;
        run_screen(root, s.key, s.title, {{s.add + "{F6}"}}, s.file);
        EXPECT_EQ(file_bytes(path), s.after);
        EXPECT_EQ(file_bytes(other), s.after);
        EXPECT_EQ(status_of(path).st_ino, inode);
    }
}

TEST(EditorsSave, ImmutableDirectoryWithWritableFilesIsSavedInPlace) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root(), dir = root + "/conduvia/config";
        std::string path = make_file(dir + "/" + s.file, s.before, 0, 0, 0644);
        // As an installation that has been used has it; the directory cannot
        // take it any more.
        make_file(dir + "/" + CONFIG_LOCK_NAME, "", 0, 0, 0600);
        if (system(("chattr +i '" + dir + "' 2>/dev/null").c_str()) != 0) {
            GTEST_SKIP() << "chattr +i is not supported where the test roots live (ext4 needed)";
        }
        run_screen(root, s.key, s.title, {{s.add + "{F6}"}}, s.file);
        system(("chattr -i '" + dir + "'").c_str());
        EXPECT_EQ(file_bytes(path), s.after);
    }
}

// As on a root-squashed NFS mount: the program may not give the file its owner.
TEST(EditorsSave, RefusedOwnerChangeFailsTheSaveWithTheReason) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root();
        std::string path =
            make_file(root + "/conduvia/config/" + s.file, s.before, NOBODY, DAEMON, 0640);
        HarnessOptions options = {.program = "/usr/bin/setpriv", .root = root};
        options.args = {"--bounding-set=-chown", "--"};
        for (const std::string &word : harness_command())
            options.args.push_back(word);
        Harness *h = start_at_menu(options);
        ASSERT_NE(h, nullptr);
        harness_type(h, std::string(1, s.key));
        ASSERT_TRUE(harness_wait_text(h, s.title)) << harness_screen(h);
        auto kept = [&](Harness *h) {
            EXPECT_NE(harness_screen(h).find("(Operation not permitted)"), std::string::npos)
                << harness_screen(h);
            EXPECT_EQ(file_bytes(path), s.before);
            EXPECT_EQ(status_of(path).st_uid, NOBODY);
            EXPECT_EQ(files_starting(root + "/conduvia/config", "."), std::vector<std::string>{});
        };
        harness_keys(h, s.add);
        for (const Step &step : failing_save(s, s.open_error, kept)) {
            harness_keys(h, step.keys);
            EXPECT_TRUE(harness_wait_text(h, step.expect)) << step.keys << harness_screen(h);
            if (step.then)
                step.then(h);
        }
        EXPECT_TRUE(harness_wait_text(h, MENU_TEXT)) << harness_screen(h);
        quit(h);
    }
}

// A user who can write the configuration directory links a file to one of
// root's: the screen neither shows it nor lets a save publish it.
TEST(EditorsSave, UsersLinkIsNotFollowedAtLoad) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root(), path = root + "/conduvia/config/" + s.file;
        std::string secret = make_file(root + "/secret", "secret-line\n", 0, 0, 0600);
        ASSERT_EQ(symlink(secret.c_str(), path.c_str()), 0);
        ASSERT_EQ(lchown(path.c_str(), NOBODY, NOBODY), 0);
        auto hidden = [](Harness *h) {
            EXPECT_EQ(harness_screen(h).find("secret-line"), std::string::npos);
        };
        run_screen(root, s.key, s.title,
                   {{"", "This file is a link owned by another user, so it is not opened."},
                    {" ", s.title, hidden},
                    {"a", "so it cannot be changed here."},
                    {" ", s.title, hidden},
                    {"{Esc}"}},
                   s.file);
        EXPECT_EQ(file_bytes(secret), "secret-line\n");
        EXPECT_TRUE(fs::is_symlink(path));
        EXPECT_EQ(files_starting(root + "/conduvia/config", "."), std::vector<std::string>{});
    }
}

// A link that another user put in place of the file after it was loaded.
TEST(EditorsSave, UsersLinkIsRefusedAndNothingIsWritten) {
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root(), dir = root + "/conduvia/config";
        std::string path = make_file(dir + "/" + s.file, s.before, 0, 0, 0644);
        std::string secret = make_file(root + "/secret", "secret\n", 0, 0, 0600);
        auto swap = [&](Harness *) {
            fs::remove(path);
            ASSERT_EQ(symlink(secret.c_str(), path.c_str()), 0);
            ASSERT_EQ(lchown(path.c_str(), NOBODY, NOBODY), 0);
        };
        auto kept = [&](Harness *h) {
            EXPECT_NE(harness_screen(h).find("(is a link owned by another user)"),
                      std::string::npos)
                << harness_screen(h);
            EXPECT_EQ(file_bytes(secret), "secret\n");
            EXPECT_EQ(status_of(secret).st_mode & 07777, 0600u);
            EXPECT_TRUE(fs::is_symlink(path));
            EXPECT_EQ(files_starting(dir, "."), std::vector<std::string>{});
            EXPECT_EQ(files_starting(root, "."), std::vector<std::string>{});
        };
        // No overwrite question: such a link is never written through.
        std::vector<Step> steps = {{s.add, "", swap}};
        for (const Step &step : failing_save(s, s.open_error, kept))
            steps.push_back(step);
        run_screen(root, s.key, s.title, steps, s.file);
    }
}

TEST(EditorsSave, FullFileSystemKeepsOldFileAndScreenUntilThereIsRoom) {
    // The small file systems live in this test's own mount namespace.
    ASSERT_EQ(unshare(CLONE_NEWNS), 0);
    ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
    for (const Screen &s : screens()) {
        SCOPED_TRACE(s.file);
        std::string root = harness_new_root(), dir = root + "/conduvia/config";
        std::string path = dir + "/" + s.file;
        ASSERT_EQ(mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=64k,mode=0755"), 0);
        write_file(path, s.before);
        std::ofstream(dir + "/filler") << std::string(1 << 20, 'f');
        auto mend = [&](Harness *h) {
            EXPECT_NE(harness_screen(h).find("(No space left on device)"), std::string::npos)
                << harness_screen(h);
            EXPECT_TRUE(harness_wait_text(h, s.title)) << "the screen stays open";
            EXPECT_EQ(file_bytes(path), s.before);
            EXPECT_EQ(files_starting(dir, "."), std::vector<std::string>{});
            fs::remove(dir + "/filler");
        };
        run_screen(root, s.key, s.title,
                   {{s.add + "{F6}", s.write_error, mend}, {" ", ""}, {"{F6}"}}, s.file);
        EXPECT_EQ(file_bytes(path), s.after);
        EXPECT_EQ(files_starting(dir, "."), std::vector<std::string>{});
        umount(dir.c_str());
    }
}

} // namespace
