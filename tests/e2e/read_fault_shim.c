/* Preloaded into the program by the read-error tests: a file opened for
   reading whose path ends in $AV_FAULT_FILE reads $AV_FAULT_BEFORE bytes,
   then fails with EIO $AV_FAULT_TIMES times (default 1), then reads on, as a
   failing disk or a soft network mount does. Streams come from fdopen, so
   that is where the fault goes in. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

struct fault {
    int fd;
    long before;
    long failures;
};

static ssize_t fault_read(void *cookie, char *buffer, size_t size) {
    struct fault *f = cookie;
    if (f->failures > 0 && f->before == 0) {
        f->failures--;
        errno = EIO;
        return -1;
    }
    if (f->failures > 0 && size > (size_t)f->before)
        size = (size_t)f->before;
    ssize_t n = read(f->fd, buffer, size);
    if (n > 0 && f->failures > 0)
        f->before -= n;
    return n;
}

static int fault_close(void *cookie) {
    struct fault *f = cookie;
    int result = close(f->fd);
    free(f);
    return result;
}

static int fault_wanted(int fd) {
    const char *want = getenv("AV_FAULT_FILE");
    if (want == NULL || want[0] == '\0')
        return 0;
    char link[64], target[4096];
    snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    ssize_t n = readlink(link, target, sizeof target - 1);
    size_t length = strlen(want);
    if (n < 0 || (size_t)n < length)
        return 0;
    target[n] = '\0';
    return strcmp(target + n - length, want) == 0;
}

FILE *fdopen(int fd, const char *mode) {
    static FILE *(*next)(int, const char *);
    if (next == NULL)
        next = (FILE * (*)(int, const char *)) dlsym(RTLD_NEXT, "fdopen");
    if (mode[0] != 'r' || !fault_wanted(fd))
        return next(fd, mode);
    struct fault *f = malloc(sizeof *f);
    if (f == NULL)
        return NULL;
    const char *before = getenv("AV_FAULT_BEFORE");
    const char *times = getenv("AV_FAULT_TIMES");
    f->fd = fd;
    f->before = before != NULL ? atol(before) : 0;
    f->failures = times != NULL ? atol(times) : 1;
    cookie_io_functions_t io = {fault_read, NULL, NULL, fault_close};
    FILE *stream = fopencookie(f, mode, io);
    if (stream == NULL)
        free(f);
    return stream;
}
