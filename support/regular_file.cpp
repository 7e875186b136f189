// Opening the files the program reads: only regular files, never blocking,
// never through another user's link.
#include "support/support.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE *open_regular_file(const char *path) {
    if (path == nullptr) {
        errno = ENOENT;
        return nullptr;
    }
    char real[4096];
    int refused = follow_own_links(path, real, sizeof real);
    if (refused != 0) {
        errno = refused;
        return nullptr;
    }
    // O_NONBLOCK so that a FIFO without a writer (or a device that waits for
    // a carrier) cannot hold the open; O_NOCTTY so that a terminal device
    // never becomes the controlling terminal. The type is checked on what
    // was opened, not on the name, so nothing can be swapped in between.
    // O_NOFOLLOW: a link put in place of the file since it was looked at
    // is not followed either.
    int fd = open(real, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
        return nullptr;
    }
    struct stat status;
    int error = fstat(fd, &status) != 0    ? errno
                : S_ISDIR(status.st_mode)  ? EISDIR
                : !S_ISREG(status.st_mode) ? AV_ENOTREG
                                           : 0;
    if (error != 0) {
        close(fd);
        errno = error;
        return nullptr;
    }
    // Reads of a regular file never wait anyway; clear the flag so that the
    // stream behaves as one from fopen.
    int flags = fcntl(fd, F_GETFL);
    if (flags >= 0) {
        fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
    }
    FILE *file = fdopen(fd, "r");
    if (file == nullptr) {
        int error = errno;
        close(fd);
        errno = error;
    }
    return file;
}
