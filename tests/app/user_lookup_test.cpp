// The direct password-file reading of start-up: it may miss an entry (the
// database walk then answers) but must never find one the system library's
// reader would not take.
#include "app/app.h"
#include "test_util.h"

#include <gtest/gtest.h>

#include <string>
#include <unistd.h>

namespace {

TEST(AppUserLookup, PasswdFile) {
    const std::string root = "root:x:0:0:root:/root:/bin/bash\n";
    const std::string daemon = "daemon:x:1:1:daemon:/usr/sbin:/usr/sbin/nologin\n";
    struct Case {
        std::string text;
        unsigned int uid;
        int found;
    } cases[] = {
        {root, 0, 1},
        {daemon + root, 0, 1},
        {daemon + "root:x:0:0::/root:", 0, 1}, // empty shell, no final newline
        {daemon + root, 2, 0},
        {"root:x:65536:0::/:\n", 0, 0},      // the entry's user ID is not cut
        {"root:x:4294967296:0::/:\n", 0, 0}, // out of range
        {"#root:x:0:0::/:\n", 0, 0},
        {" root:x:0:0::/:\n", 0, 0},
        {"+root:x:0:0::/:\n", 0, 0},
        {"root:x:0:0::/\n", 0, 0},    // one field short
        {"root:x::0::/:\n", 0, 0},    // no user ID
        {"root:x:0x0:0::/:\n", 0, 0}, // not decimal
        {"root:x:0 :0::/:\n", 0, 0},
        {"root:x:0:::/:\n", 0, 0}, // no group ID
        {"root:x:0:0x::/:\n", 0, 0},
        {"root:x:0:4294967296::/:\n", 0, 0},
        {std::string("root:x:0\0:0::/:\n", 16), 0, 0}, // the line ends at the NUL for the library
        // A line longer than any buffer is one line: its tail is no entry.
        {"u:x:7:7:" + std::string(9000, 'g') + "\n" + "v:x:8:8:" + std::string(5000, 'h') +
             "root:x:0:0::/:\n",
         0, 0},
        {"u:x:7:7:" + std::string(9000, 'g') + ":/:\n" + root, 0, 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        std::string path = temp_file(c.text);
        EXPECT_EQ(passwd_file_has_uid(path.c_str(), c.uid), c.found);
        unlink(path.c_str());
    }
    EXPECT_EQ(passwd_file_has_uid("/nonexistent/passwd", 0), -1);
}

TEST(AppUserLookup, NameServiceReadsFiles) {
    struct Case {
        std::string text;
        int files;
    } cases[] = {
        {"passwd:         files systemd\ngroup: files\n", 1},
        {"passwd: compat\n", 1},
        {"passwd:files\n", 1},
        {"group: files\npasswd: sss [NOTFOUND=return] ldap\n", 0},
        {"passwd: sss # files\n", 0},
        {"# passwd: sss\nhosts: files dns\n", 1}, // no passwd line: the default
        {"passwd: filesystem\n", 0},
        {"passwd:\n", 0},
        {"", 1},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        std::string path = temp_file(c.text);
        EXPECT_EQ(passwd_reads_files(path.c_str()), c.files);
        unlink(path.c_str());
    }
    EXPECT_EQ(passwd_reads_files("/nonexistent/nsswitch.conf"), 1);
}

} // namespace
