// A read stream over bytes that fails like a bad disk: after `before` bytes,
// `failures` reads fail with `error`, and reading then goes on.
#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

struct FaultStream {
    std::string bytes;
    size_t at = 0;
    size_t before = 0;
    int failures = 1;
    int error = EIO;
    int failed = 0;
    int reads_after_failure = 0; // the reader must not try again
};

inline ssize_t fault_stream_read(void *cookie, char *buffer, size_t size) {
    FaultStream *f = static_cast<FaultStream *>(cookie);
    if (f->failures > 0 && f->at == f->before) {
        f->failures--;
        f->failed++;
        errno = f->error;
        return -1;
    }
    if (f->failed > 0)
        f->reads_after_failure++;
    size_t end = f->failures > 0 ? f->before : f->bytes.size();
    size_t n = std::min(size, end - f->at);
    memcpy(buffer, f->bytes.data() + f->at, n);
    f->at += n;
    return static_cast<ssize_t>(n);
}

// The stream reads f, which must outlive it.
inline FILE *fault_stream_open(FaultStream *f) {
    cookie_io_functions_t io = {fault_stream_read, nullptr, nullptr, nullptr};
    return fopencookie(f, "r", io);
}
