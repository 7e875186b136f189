// Opening the files the program reads: only regular files, never blocking.
#include "support/support.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE *open_regular_file(const char *path) {
    if (path == nullptr) {
        return nullptr;
    }
    // O_NONBLOCK so that a FIFO without a writer (or a device that waits for
    // a carrier) cannot hold the open; O_NOCTTY so that a terminal device
    // never becomes the controlling terminal. The type is checked on what
    // was opened, not on the name, so nothing can be swapped in between.
    int fd = open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    struct stat status;
    if (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        close(fd);
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
        close(fd);
    }
    return file;
}
