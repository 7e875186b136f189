// A private product root for the benches that run the program: a fresh
// directory under the build tree, bind-mounted over AV_PRODUCT_ROOT in a
// mount namespace of the bench's own, so that the sandbox of "make run"
// (which lives at AV_PRODUCT_ROOT) is never written. The children the bench
// starts inherit the namespace. A bench run as a normal user maps itself to
// root in a user namespace first, as "make run" does: the program refuses
// any other user anyway.
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace bench_root {

inline bool write_file(const char *path, const std::string &text) {
    int fd = open(path, O_WRONLY);
    bool ok = fd >= 0 && write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    if (fd >= 0)
        close(fd);
    return ok;
}

// Returns the root (with the shipped termdef and an empty conduvia/config),
// now seen at AV_PRODUCT_ROOT; empty with *why set when it cannot be made.
inline std::string enter(std::string *why) {
    namespace fs = std::filesystem;
    fs::path build = fs::path(AV_BINARY).parent_path().parent_path();
    std::string product = AV_PRODUCT_ROOT;
    if (product.rfind(build.string() + "/", 0) != 0) {
        *why = "AV_PRODUCT_ROOT " + product + " is not inside the build tree " + build.string();
        return "";
    }
    std::error_code ec;
    fs::create_directories(build / "bench", ec);
    std::string root = (build / "bench" / "root-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr) {
        *why = "cannot make a directory under " + (build / "bench").string();
        return "";
    }
    fs::create_directories(root + "/conduvia/config", ec);
    fs::copy_file(AV_SOURCE_DIR "/data/termdef", root + "/termdef", ec);
    fs::create_directories(product, ec); // the mount point; its contents stay as they are
    uid_t uid = geteuid();
    gid_t gid = getegid();
    if (uid != 0) {
        if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 ||
            !write_file("/proc/self/setgroups", "deny") ||
            !write_file("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") ||
            !write_file("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1")) {
            *why = "not root, and no user namespace to act as root in";
            return "";
        }
    } else if (unshare(CLONE_NEWNS) != 0) {
        *why = "cannot make a mount namespace";
        return "";
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount(root.c_str(), product.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        *why = "cannot bind " + root + " over " + product;
        return "";
    }
    return root;
}

// Removes the root made by enter().
inline void leave(const std::string &root) {
    std::error_code ec;
    umount2(AV_PRODUCT_ROOT, MNT_DETACH);
    std::filesystem::remove_all(root, ec);
}

} // namespace bench_root
