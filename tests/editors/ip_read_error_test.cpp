// The name-to-IP table's loader on a stream that fails part way: the load
// fails with the reason, the lines before the error stay whole and padded.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "editors/editors.h"
#include "fault_stream.h"

namespace {

TEST(IpReadError, FailsTheLoadAndKeepsWholeLinesOnly) {
    const std::string a = "a               10.0.0.1\n", b = "b               10.0.0.2\n";
    const std::string pad_a = "a               10.0.0.1" + std::string(36, ' ');
    struct Case {
        const char *what;
        size_t before;
        int failures;
        int result;
        std::vector<std::string> kept;
    };
    const Case cases[] = {
        {"at the start", 0, 1, LINE_READ_ERROR, {}},
        {"mid-line, once", a.size() + 3, 1, LINE_READ_ERROR, {pad_a}},
        {"mid-line, for good", a.size() + 3, 99, LINE_READ_ERROR, {pad_a}},
        {"none", 0, 0, 0, {pad_a, "b               10.0.0.2" + std::string(36, ' ')}},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        FaultStream fault{.bytes = a + b, .before = c.before, .failures = c.failures};
        FILE *file = fault_stream_open(&fault);
        List *list = list_create(25);
        char msg[AV_MSG_MAX] = "";
        EXPECT_EQ(ip_read_table(file, "/cfg/ipaddr", list, msg), c.result);
        if (c.result == LINE_READ_ERROR) {
            EXPECT_STREQ(msg, "Input/output error while reading /cfg/ipaddr");
        }
        std::vector<std::string> lines;
        for (int i = 0; i < list_count(list); i++)
            lines.push_back(static_cast<const char *>(list_get(list, i)));
        EXPECT_EQ(lines, c.kept);
        EXPECT_EQ(fault.reads_after_failure, 0);
        fclose(file);
        list_destroy(list);
    }
}

} // namespace
