// The documentation viewer, opened from the main menu.
#include <gtest/gtest.h>

#include <filesystem>

#include "e2e_helpers.h"
#include "support/paths.h"

using namespace e2e;

namespace {

// The print command runs with the system's own PATH, whose first directory
// is /usr/sbin: the run mounts root/sbin there (in its own mount namespace),
// so that a stand-in lp can be put first and the real one never runs. The
// caller's PATH starts with root/bin, whose lp must never run either.
Harness *open_viewer(const std::string &root, const std::string &doc) {
    if (doc != ABSENT)
        write_file(root + "/conduvia/doc", doc);
    for (const char *dir : {"/bin", "/sbin"})
        mkdir((root + dir).c_str(), 0755);
    write_file(root + "/bin/lp", "#!/bin/sh\ntouch '" + root + "/wrong-lp'\n");
    chmod((root + "/bin/lp").c_str(), 0755);
    std::string command = "mount --bind '" + root + "/sbin' /usr/sbin && exec";
    for (const std::string &arg : harness_command())
        command += " '" + arg + "'";
    Harness *h = start_at_menu(
        {.program = "/bin/sh",
         .args = {"-c", command},
         .env = {"PATH=" + root + "/bin:/usr/bin:/bin", "AV_FD_REPORT=" + root + "/lp-report"},
         .root = root});
    if (h != nullptr)
        harness_type(h, "?");
    return h;
}

void print(Harness *h, const char *answer) {
    harness_type(h, "H");
    ASSERT_TRUE(harness_wait_text(h, "Print this information on the default printer?"));
    harness_type(h, answer);
    harness_wait_idle(h);
}

TEST(DocViewer, PagesMarksPrintingAndAMissingDocument) {
    std::string doc = std::string(80, 'A') + "BBBB", root = harness_new_root();
    for (int i = 1; i < 30; ++i)
        doc += "\nline " + std::to_string(i);
    Harness *h = open_viewer(root, doc + "\n");
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, "Ardovane PC Conduvia - On-Line Documentation"));
    EXPECT_EQ(harness_row(h, 1), doc.substr(0, 80));
    EXPECT_EQ(harness_row_plain(h, 22).substr(73, 7), " More v");
    harness_key(h, "PgDn");
    harness_wait_idle(h);
    EXPECT_EQ(harness_row_plain(h, 22).substr(72, 7), "^ More ");
    // A failing lp: the message comes all the same.
    write_file(root + "/sbin/lp", "#!/bin/sh\nexit 1\n");
    chmod((root + "/sbin/lp").c_str(), 0755);
    print(h, "Y");
    EXPECT_TRUE(harness_wait_text(h, "Help file printed.")) << "after a failing lp";
    harness_type(h, " ");
    harness_wait_idle(h);
    std::filesystem::copy_file(AV_FD_REPORT, root + "/sbin/lp",
                               std::filesystem::copy_options::overwrite_existing);
    print(h, "N");
    EXPECT_EQ(file_bytes(root + "/lp-report"), ABSENT) << "lp ran after N";
    const std::string page = harness_screen(h);
    print(h, "Y");
    EXPECT_TRUE(harness_wait_text(h, "Help file printed."));
    // Nothing of the terminal, nothing else the program holds.
    EXPECT_EQ(file_bytes(root + "/lp-report"),
              std::string("args: -s ") + AV_PATH_DOC + "\n0 /dev/null\n1 /dev/null\n2 /dev/null\n");
    EXPECT_EQ(file_bytes(root + "/wrong-lp"), ABSENT) << "lp found through the caller's PATH";
    harness_type(h, " ");
    harness_wait_idle(h);
    EXPECT_EQ(harness_screen(h), page) << "the page as it was";
    harness_stop(h);
    h = open_viewer(harness_new_root(), ABSENT);
    ASSERT_NE(h, nullptr);
    // The path may lose its beginning to make room for the reason.
    EXPECT_TRUE(harness_wait_text(h, "Could not open: "));
    EXPECT_TRUE(harness_wait_text(h, "/conduvia/doc (No such file or directory)"));
    harness_stop(h);
}

} // namespace
