// How a save writes a file: owner, mode, ACL and extended attributes kept or
// the save refused, links followed only when root's, hard links and
// directories that take no new file rewritten in place, reasons given.
#include "support/support.h"
#include "test_util.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Strings = std::vector<std::string>;

constexpr uid_t OTHER_UID = 4242;
constexpr gid_t OTHER_GID = 4343;

// A directory in the build tree, which unlike a tmpfs /tmp keeps ACLs and
// takes chattr.
struct Tree {
    std::string path;
    Tree() {
        std::string t = (fs::current_path() / "savetest-XXXXXX").string();
        path = mkdtemp(t.data());
    }
    ~Tree() {
        // Whatever a case left immutable must go too.
        system(("chattr -R -i " + path + " 2>/dev/null").c_str());
        fs::remove_all(path);
    }
    std::string operator/(const std::string &name) const { return path + "/" + name; }
    std::string file(const std::string &name, const std::string &bytes, uid_t uid = 0,
                     gid_t gid = 0, mode_t mode = 0644) const {
        std::string p = *this / name;
        fs::create_directories(fs::path(p).parent_path());
        std::ofstream(p, std::ios::binary | std::ios::trunc) << bytes;
        EXPECT_EQ(chown(p.c_str(), uid, gid), 0);
        EXPECT_EQ(chmod(p.c_str(), mode), 0); // after the chown, which clears set-ID bits
        return p;
    }
    // Temporary files left anywhere below.
    Strings leftovers() const {
        Strings names;
        for (const auto &entry : fs::recursive_directory_iterator(path))
            if (entry.path().filename().string().find(".avconfig-") != std::string::npos)
                names.push_back(entry.path());
        return names;
    }
};

List *list_of(const Strings &lines) {
    List *list = list_create(25);
    for (const std::string &line : lines)
        list_add_string(line.c_str(), list, nullptr);
    return list;
}

// write_line_file of lines: its result and message.
std::pair<int, std::string> save_lines(const std::string &path, const Strings &lines) {
    List *list = list_of(lines);
    char msg[AV_MSG_MAX] = "";
    int result = write_line_file(path.c_str(), list, msg);
    list_destroy(list);
    return {result, msg};
}

// replace_open and replace_commit as the IP table uses them (owner root,
// mode 0666): 0 or the error.
int save_as_table(const std::string &path, const std::string &bytes) {
    ReplaceFile file;
    if (replace_open(&file, path.c_str(), "root", nullptr, 0666, 0666) != 0)
        return file.error;
    fputs(bytes.c_str(), file.stream);
    return replace_commit(&file) == 0 ? 0 : file.error;
}

// A message as a box shows it: "<what>: <path> (<reason>)" in full when it
// fits, else with the path's beginning given up, never the reason.
void expect_message(const std::string &msg, const std::string &what, const std::string &path,
                    const std::string &reason) {
    const std::string whole = what + ": " + path + " (" + reason + ")";
    if (whole.size() <= static_cast<size_t>(AV_MSG_SHOWN)) {
        EXPECT_EQ(msg, whole);
        return;
    }
    const std::string head = what + ": ...", end = " (" + reason + ")";
    EXPECT_LE(msg.size(), static_cast<size_t>(AV_MSG_SHOWN)) << msg;
    ASSERT_TRUE(msg.starts_with(head) && msg.ends_with(end)) << msg;
    std::string shown = msg.substr(head.size(), msg.size() - head.size() - end.size());
    EXPECT_TRUE(shown.starts_with("/") && path.ends_with(shown)) << msg;
}

struct stat status_of(const std::string &path) {
    struct stat st = {};
    EXPECT_EQ(lstat(path.c_str(), &st), 0) << path;
    return st;
}

std::string run(const std::string &command) {
    std::string out;
    FILE *p = popen((command + " 2>&1").c_str(), "r");
    char buffer[256];
    for (size_t n; p != nullptr && (n = fread(buffer, 1, sizeof buffer, p)) > 0;)
        out.append(buffer, n);
    int status = p != nullptr ? pclose(p) : -1;
    return status == 0 ? out : "failed: " + out;
}

// Runs fn in a child process and gives its exit status.
int in_child(const std::function<int()> &fn) {
    fflush(nullptr);
    pid_t pid = fork();
    if (pid == 0)
        _exit(fn());
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Takes a capability away from this (root) process, as a root-squashed or
// otherwise refusing file system would take the power it gives.
bool drop_capability(int capability) {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2];
    if (syscall(SYS_capget, &header, data) != 0)
        return false;
    unsigned bit = 1u << (capability % 32);
    data[capability / 32].effective &= ~bit;
    data[capability / 32].permitted &= ~bit;
    return syscall(SYS_capset, &header, data) == 0;
}

// Small file systems of this test's own, in a mount namespace of its own.
void private_mounts() {
    static bool done = false;
    if (!done) {
        ASSERT_EQ(unshare(CLONE_NEWNS), 0) << strerror(errno);
        ASSERT_EQ(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr), 0);
        done = true;
    }
}

bool make_immutable(const std::string &path) {
    return system(("chattr +i '" + path + "' 2>/dev/null").c_str()) == 0;
}

TEST(SupportSave, NewFilesGetTheirModeWhateverTheUmask) {
    Tree tree;
    const mode_t masks[] = {0, 077, 022};
    for (mode_t mask : masks) {
        SCOPED_TRACE(testing::Message() << "umask " << std::oct << mask);
        mode_t before = umask(mask);
        std::string lines = tree / ("lines" + std::to_string(mask));
        std::string table = tree / ("table" + std::to_string(mask));
        EXPECT_EQ(save_lines(lines, {"who"}).first, 0);
        EXPECT_EQ(save_as_table(table, "t\n"), 0);
        umask(before);
        EXPECT_EQ(status_of(lines).st_mode & 07777, 0644u) << "commands and env files";
        EXPECT_EQ(status_of(table).st_mode & 07777, 0666u) << "the IP table";
        EXPECT_EQ(status_of(lines).st_uid, 0u);
    }
    EXPECT_EQ(tree.leftovers(), Strings{});
}

TEST(SupportSave, ExistingFilesKeepOwnerGroupAndModeOrTakeTheTables) {
    Tree tree;
    struct Case {
        const char *what;
        mode_t mode;
        bool table;
        uid_t uid;
        gid_t gid;
        mode_t after;
    };
    const Case cases[] = {
        {"line file, set-group-ID kept", 02640, false, OTHER_UID, OTHER_GID, 02640},
        {"line file, world-writable kept", 0666, false, OTHER_UID, OTHER_GID, 0666},
        {"table: owner root, group kept, 0666", 0600, true, 0, OTHER_GID, 0666},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string path = tree.file(c.what, "old\n", OTHER_UID, OTHER_GID, c.mode);
        EXPECT_EQ(c.table ? save_as_table(path, "new\n") : save_lines(path, {"new"}).first, 0);
        struct stat st = status_of(path);
        EXPECT_EQ(file_bytes(path), "new\n");
        EXPECT_EQ(st.st_uid, c.uid);
        EXPECT_EQ(st.st_gid, c.gid);
        EXPECT_EQ(st.st_mode & 07777, c.after);
    }
    EXPECT_EQ(tree.leftovers(), Strings{});
}

// On root-squashed NFS, CIFS and some FUSE mounts a change of owner or mode is
// refused, or accepted and ignored; here the process lacks the capability.
TEST(SupportSave, RefusedOwnerOrModeFailsTheSaveAndKeepsTheFile) {
    struct Case {
        const char *what;
        int capability;
        mode_t mode;
        bool hard_link, table;
    };
    const Case cases[] = {
        {"chown refused", CAP_CHOWN, 0640, false, false},
        {"chmod refused", CAP_FOWNER, 0640, false, false},
        {"set-group-ID dropped without a word", CAP_FSETID, 02640, false, false},
        {"table: chown to root refused", CAP_CHOWN, 0666, false, true},
        {"table in place: chown to root refused", CAP_CHOWN, 0666, true, true},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Tree tree;
        std::string path = tree.file("conf", "old\n", OTHER_UID, OTHER_GID, c.mode);
        if (c.hard_link) {
            ASSERT_EQ(link(path.c_str(), (tree / "conf.link").c_str()), 0);
        }
        int error = in_child([&]() {
            if (!drop_capability(c.capability))
                return 99;
            if (c.table)
                return save_as_table(path, "new\n");
            // The message names the reason.
            auto [result, msg] = save_lines(path, {"new"});
            if (result == 0)
                return 0;
            expect_message(msg, "Could not open", path, "Operation not permitted");
            return testing::Test::HasFailure() ? 1 : EPERM;
        });
        EXPECT_EQ(error, EPERM) << strerror(error);
        struct stat st = status_of(path);
        EXPECT_EQ(file_bytes(path), "old\n");
        EXPECT_EQ(st.st_uid, OTHER_UID);
        EXPECT_EQ(st.st_gid, OTHER_GID);
        EXPECT_EQ(st.st_mode & 07777, c.mode);
        EXPECT_EQ(tree.leftovers(), Strings{});
    }
}

TEST(SupportSave, AclAndExtendedAttributesAreCarriedOver) {
    Tree tree;
    struct Case {
        const char *what;
        std::string file_acl, dir_default_acl;
    };
    const Case cases[] = {
        // The mode's group bits are the mask, rw-; the group's own entry is r--.
        {"named user, group r--, mask rw-", "u:4242:rw-,g::r--,m::rw-", ""},
        {"group r-x, mask r--", "g::r-x,u:4242:r--,m::r--", ""},
        // A new file takes the directory's default ACL; the old one had none.
        {"no ACL under a default ACL", "", "u:4242:rwx"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string dir = tree / c.what;
        fs::create_directories(dir);
        std::string path =
            tree.file(std::string(c.what) + "/conf", "old\n", OTHER_UID, OTHER_GID, 0640);
        if (!c.file_acl.empty() && run("setfacl -m " + c.file_acl + " '" + path + "'") != "") {
            GTEST_SKIP() << "setfacl (package acl) is missing or this file system keeps no ACLs";
        }
        if (!c.dir_default_acl.empty()) {
            ASSERT_EQ(run("setfacl -d -m " + c.dir_default_acl + " '" + dir + "'"), "");
        }
        if (setxattr(path.c_str(), "user.avtest", "kept\0value", 10, 0) != 0) {
            GTEST_SKIP() << "this file system keeps no user extended attributes";
        }
        const std::string acl = run("getfacl -cn '" + path + "'");
        const mode_t mode = status_of(path).st_mode & 07777;
        EXPECT_EQ(save_lines(path, {"new"}).first, 0);
        EXPECT_EQ(file_bytes(path), "new\n");
        EXPECT_EQ(run("getfacl -cn '" + path + "'"), acl);
        EXPECT_EQ(status_of(path).st_mode & 07777, mode);
        char value[32];
        ASSERT_EQ(getxattr(path.c_str(), "user.avtest", value, sizeof value), 10);
        EXPECT_EQ(std::string(value, 10), std::string("kept\0value", 10));
    }
    EXPECT_EQ(tree.leftovers(), Strings{});
}

TEST(SupportSave, RootLinksAreFollowedOthersRefused) {
    struct Case {
        const char *what;
        std::function<void(const Tree &)> make; // makes config/conf
        int error;                              // of the save and of the read
        std::string target_after;               // elsewhere/conf afterwards
    };
    auto link_to = [](const std::string &target, const std::string &at, uid_t owner = 0) {
        fs::create_directories(fs::path(at).parent_path());
        EXPECT_EQ(symlink(target.c_str(), at.c_str()), 0);
        EXPECT_EQ(lchown(at.c_str(), owner, owner), 0);
    };
    const Case cases[] = {
        {"root's relative link to another directory",
         [&](const Tree &t) { link_to("../elsewhere/conf", t / "config/conf"); }, 0, "new\n"},
        {"root's link to root's link",
         [&](const Tree &t) {
             link_to(t / "elsewhere/hop", t / "config/conf");
             link_to("conf", t / "elsewhere/hop");
         },
         0, "new\n"},
        {"root's link to nothing yet",
         [&](const Tree &t) {
             fs::remove(t / "elsewhere/conf");
             link_to(t / "elsewhere/conf", t / "config/conf");
         },
         ENOENT, "new\n"},
        {"a user's link",
         [&](const Tree &t) { link_to(t / "elsewhere/conf", t / "config/conf", OTHER_UID); },
         AV_ELINKOWNER, "old\n"},
        {"root's link to a user's link",
         [&](const Tree &t) {
             link_to(t / "elsewhere/hop", t / "config/conf");
             link_to("conf", t / "elsewhere/hop", OTHER_UID);
         },
         AV_ELINKOWNER, "old\n"},
        {"root's link to a device", [&](const Tree &t) { link_to("/dev/null", t / "config/conf"); },
         AV_ENOTREG, "old\n"},
        {"links in a loop",
         [&](const Tree &t) {
             link_to("loop", t / "config/conf");
             link_to("conf", t / "config/loop");
         },
         ELOOP, "old\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Tree tree;
        tree.file("elsewhere/conf", "old\n", OTHER_UID, OTHER_GID, 0640);
        c.make(tree);
        const std::string path = tree / "config/conf";
        const std::string link_before = fs::read_symlink(path);

        FILE *read = open_regular_file(path.c_str());
        EXPECT_EQ(read != nullptr ? 0 : errno, c.error) << strerror(errno);
        if (read != nullptr)
            fclose(read);

        auto [result, msg] = save_lines(path, {"new"});
        int save_error = c.error == ENOENT ? 0 : c.error; // a missing target is created
        EXPECT_EQ(result, save_error == 0 ? 0 : -1) << msg;
        if (save_error != 0) {
            expect_message(msg, "Could not open", path, str_error(save_error));
        }
        EXPECT_TRUE(fs::is_symlink(path)) << "the link stays";
        EXPECT_EQ(fs::read_symlink(path), link_before);
        EXPECT_EQ(file_bytes(tree / "elsewhere/conf"), c.target_after);
        if (c.error == 0) {
            struct stat st = status_of(tree / "elsewhere/conf");
            EXPECT_EQ(st.st_uid, OTHER_UID);
            EXPECT_EQ(st.st_gid, OTHER_GID);
            EXPECT_EQ(st.st_mode & 07777, 0640u);
        }
        EXPECT_TRUE(fs::is_character_file("/dev/null"));
        EXPECT_EQ(tree.leftovers(), Strings{});
    }
}

// Where a new file cannot be made beside the file, or other names must keep
// seeing it, the file is rewritten in place; a failure puts the old bytes back.
TEST(SupportSave, InPlaceRewrites) {
    private_mounts();
    struct Case {
        const char *what;
        // Prepares the directory holding conf (and conf.link, a hard link);
        // returns why the case cannot run here, or "".
        std::function<std::string(const std::string &dir)> prepare;
        bool hard_link;
        Strings lines;
        std::string message, reason; // "" when the save succeeds
        std::string after;
    };
    const std::string old = "one\ntwo\nthree\nfour\n";
    // A small file system holding conf and its link, filled up.
    auto full_file_system = [&](const std::string &dir) {
        if (mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=64k") != 0)
            return std::string("tmpfs: ") + strerror(errno);
        std::ofstream(dir + "/conf") << old;
        link((dir + "/conf").c_str(), (dir + "/conf.link").c_str());
        std::ofstream(dir + "/filler") << std::string(1 << 20, 'f');
        return std::string();
    };
    const Case cases[] = {
        {"two hard links", [](const std::string &) { return ""; }, true, {"new"}, "", "", "new\n"},
        {"immutable directory",
         [](const std::string &dir) {
             return make_immutable(dir) ? "" : "chattr +i is not supported here (ext4 needed)";
         },
         false,
         {"new", "longer", "than", "before", "by", "far"},
         "",
         "",
         "new\nlonger\nthan\nbefore\nby\nfar\n"},
        {"immutable directory and file",
         [](const std::string &dir) {
             return make_immutable(dir + "/conf") && make_immutable(dir)
                        ? ""
                        : "chattr +i is not supported here (ext4 needed)";
         },
         false,
         {"new"},
         "Could not open",
         "Operation not permitted",
         ""},
        {"read-only directory, writable file",
         [](const std::string &dir) {
             std::string keep = dir + "/../conf.keep";
             fs::copy_file(dir + "/conf", keep);
             if (mount(dir.c_str(), dir.c_str(), nullptr, MS_BIND, nullptr) != 0 ||
                 mount(nullptr, dir.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) !=
                     0 ||
                 mount(keep.c_str(), (dir + "/conf").c_str(), nullptr, MS_BIND, nullptr) != 0)
                 return std::string("bind mounts: ") + strerror(errno);
             return std::string();
         },
         false,
         {"new"},
         "",
         "",
         "new\n"},
        {"full file system, longer contents", full_file_system, true,
         Strings(2000, "a line longer than the old file's"), "Could not write",
         "No space left on device", ""},
        {"full file system, shorter contents", full_file_system, true, {"one"}, "", "", "one\n"},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        Tree tree;
        std::string dir = tree / "config", path = dir + "/conf";
        tree.file("config/conf", old, OTHER_UID, OTHER_GID, 0640);
        if (c.hard_link) {
            ASSERT_EQ(link(path.c_str(), (dir + "/conf.link").c_str()), 0);
        }
        std::string skip = c.prepare(dir);
        if (!skip.empty()) {
            umount2(dir.c_str(), MNT_DETACH);
            GTEST_SKIP() << skip;
        }
        const struct stat before = status_of(path);
        auto [result, msg] = save_lines(path, c.lines);
        EXPECT_EQ(result, c.message.empty() ? 0 : -1);
        if (!c.message.empty()) {
            expect_message(msg, c.message, path, c.reason);
        }
        const std::string after = c.after.empty() ? old : c.after;
        EXPECT_EQ(file_bytes(path), after);
        if (c.hard_link) {
            EXPECT_EQ(file_bytes(dir + "/conf.link"), after) << "the other name sees the same";
        }
        struct stat st = status_of(path);
        EXPECT_EQ(st.st_ino, before.st_ino) << "rewritten in place";
        EXPECT_EQ(st.st_uid, before.st_uid);
        EXPECT_EQ(st.st_gid, before.st_gid);
        EXPECT_EQ(st.st_mode, before.st_mode);
        EXPECT_EQ(files_starting(dir, "."), Strings{});
        system(("chattr -i '" + dir + "' '" + path + "' 2>/dev/null").c_str());
        umount2((dir + "/conf").c_str(), MNT_DETACH);
        umount2(dir.c_str(), MNT_DETACH);
    }
}

TEST(SupportSave, FullFileSystemNamesTheReason) {
    private_mounts();
    Tree tree;
    std::string dir = tree / "config";
    fs::create_directories(dir);
    ASSERT_EQ(mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=64k"), 0) << strerror(errno);
    std::string path = tree.file("config/conf", "old\n");
    std::ofstream(dir + "/filler") << std::string(1 << 20, 'f');
    auto [result, msg] = save_lines(path, Strings(5000, "a line that does not fit"));
    EXPECT_EQ(result, -1);
    expect_message(msg, "Could not write", path, "No space left on device");
    EXPECT_EQ(save_as_table(path, std::string(100000, 'x')), ENOSPC);
    EXPECT_EQ(file_bytes(path), "old\n");
    EXPECT_EQ(files_starting(dir, "."), Strings{});
    umount2(dir.c_str(), MNT_DETACH);
}

} // namespace
