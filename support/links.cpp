// Following the symbolic links of a configuration file, and the texts of the
// reasons a file cannot be read or written.
#include "support/support.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <unistd.h>

namespace {

// As many hops as the kernel allows before ELOOP.
constexpr int MAX_HOPS = 40;

} // namespace

const char *str_error(int error) {
    if (error == AV_ELINKOWNER)
        return "is a link owned by another user";
    if (error == AV_ENOTREG)
        return "is not a regular file";
    return strerror(error);
}

int follow_own_links(const char *path, char *out, size_t size) {
    size_t length = strlen(path);
    if (length >= size)
        return ENAMETOOLONG;
    memcpy(out, path, length + 1);
    for (int hops = 0;; hops++) {
        struct stat link;
        // Anything that is not a link (or cannot be looked at) ends the walk;
        // opening it then says what is wrong with it.
        if (lstat(out, &link) != 0 || !S_ISLNK(link.st_mode))
            return 0;
        // Whoever owns a link decides where root's reads and writes go, so
        // only root's own links are followed, as the kernel's protected-links
        // rule does in shared directories.
        if (link.st_uid != geteuid())
            return AV_ELINKOWNER;
        if (hops == MAX_HOPS)
            return ELOOP;
        char target[PATH_MAX];
        ssize_t got = readlink(out, target, sizeof target);
        if (got < 0)
            return errno;
        if (static_cast<size_t>(got) >= sizeof target)
            return ENAMETOOLONG;
        target[got] = '\0';
        // A relative target is taken from the link's own directory.
        const char *slash = strrchr(out, '/');
        size_t keep =
            target[0] != '/' && slash != nullptr ? static_cast<size_t>(slash - out) + 1 : 0;
        if (keep + static_cast<size_t>(got) >= size)
            return ENAMETOOLONG;
        memcpy(out + keep, target, static_cast<size_t>(got) + 1);
    }
}
