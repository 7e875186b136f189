// A read error while loading a line file is a failed load, never a short
// file: the caller learns it, the lines read before it are kept whole, and
// the line it cut is not split or retried.
#include "support/support.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fault_stream.h"

namespace {

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
        {"inside a line longer than a piece", long_line, 170, 1, EIO,
         {std::string(149, 'x')}},
        {"another reason", text, 11, 1, ESTALE, {"alpha", "beta"}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        FaultStream fault{.bytes = c.bytes, .before = c.before, .failures = c.failures,
                          .error = c.error};
        FILE *file = fault_stream_open(&fault);
        ASSERT_NE(file, nullptr);
        List *list = list_create(25);
        char msg[AV_MSG_MAX] = "untouched";
        EXPECT_EQ(read_line_stream(file, "/cfg/commands", list, "", msg), LINE_READ_ERROR);
        EXPECT_EQ(std::string(msg), std::string(strerror(c.error)) + " while reading /cfg/commands");
        EXPECT_EQ(lines_of(list), c.kept);
        EXPECT_EQ(fault.reads_after_failure, 0) << "read on after the error";
        fclose(file);
        list_destroy(list);
    }
}

// A clean stream read the same way is unaffected: the fault layer itself is
// not what the cases above measure.
TEST(LineReadError, CleanStreamReadsEveryLine) {
    FaultStream fault{.bytes = "alpha\nbeta\n", .before = 0, .failures = 0};
    FILE *file = fault_stream_open(&fault);
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    EXPECT_EQ(read_line_stream(file, "f", list, "", msg), 5);
    EXPECT_EQ(lines_of(list), (std::vector<std::string>{"alpha", "beta"}));
    fclose(file);
    list_destroy(list);
}

} // namespace
