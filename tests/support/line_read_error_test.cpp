// A read error while loading a line file is a failed load, never a short
// file: the caller learns it, the lines read before it are kept whole, and
// the line it cut is not split or retried.
#include "support/support.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

namespace {

// A read stream over bytes that fails like a bad disk: after `before` bytes,
// `failures` reads fail with `error`, and reading then goes on.
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

std::vector<std::string> lines_of(List *list) {
    std::vector<std::string> out;
    for (int i = 0; i < list_count(list); i++)
        out.push_back(static_cast<const char *>(list_get(list, i)));
    return out;
}

TEST(LineReadError, FailsTheLoadAndKeepsWholeLinesOnly) {
    using Lines = std::vector<std::string>;
    const std::string text = "alpha\nbeta\ngamma\n";
    const std::string long_line = std::string(200, 'x') + "\nlast\n";
    struct Case {
        const char *what;
        std::string bytes;
        size_t before;
        int failures;
        int error;
        Lines kept;
    };
    const Case cases[] = {
        {"at the start", text, 0, 1, EIO, {}},
        {"in the middle of a line, once", text, 8, 1, EIO, {"alpha"}},
        {"in the middle of a line, for good", text, 8, 1000, EIO, {"alpha"}},
        {"right after a newline", text, 6, 1, EIO, {"alpha"}},
        {"before the last newline", text, 16, 1, EIO, {"alpha", "beta"}},
        {"inside a line longer than a piece", long_line, 170, 1, EIO, {std::string(149, 'x')}},
        {"another reason", text, 11, 1, ESTALE, {"alpha", "beta"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        FaultStream fault{
            .bytes = c.bytes, .before = c.before, .failures = c.failures, .error = c.error};
        FILE *file = fault_stream_open(&fault);
        ASSERT_NE(file, nullptr);
        List *list = list_create(25);
        char msg[AV_MSG_MAX] = "untouched";
        EXPECT_EQ(read_line_stream(file, "/cfg/commands", list, "", msg), LINE_READ_ERROR);
        EXPECT_EQ(std::string(msg),
                  std::string(strerror(c.error)) + " while reading /cfg/commands");
        EXPECT_EQ(lines_of(list), c.kept);
        EXPECT_EQ(fault.reads_after_failure, 0) << "read on after the error";
        fclose(file);
        list_destroy(list);
    }
}

} // namespace
