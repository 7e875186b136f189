// The documentation viewer, opened from the main menu.
#include <gtest/gtest.h>

#include "e2e_helpers.h"
#include "support/paths.h"

using namespace e2e;

namespace {

// A stand-in lp, first on PATH, records its arguments: the real one must
// never run. It is missing until the test makes it.
Harness *open_viewer(const std::string &root, const std::string &doc) {
    if (doc != ABSENT)
        write_file(root + "/conduvia/doc", doc);
    mkdir((root + "/bin").c_str(), 0755);
    Harness *h = start_at_menu({.env = {"PATH=" + root + "/bin:/usr/bin:/bin"}, .root = root});
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
    print(h, "Y");
    EXPECT_TRUE(harness_wait_text(h, "Help file printed.")) << "without lp";
    harness_type(h, " ");
    harness_wait_idle(h);
    write_file(root + "/bin/lp", "#!/bin/sh\necho \"$@\" > '" + root + "/lp-args'\n");
    chmod((root + "/bin/lp").c_str(), 0755);
    print(h, "N");
    EXPECT_EQ(file_bytes(root + "/lp-args"), ABSENT) << "lp ran after N";
    print(h, "Y");
    EXPECT_TRUE(harness_wait_text(h, "Help file printed."));
    EXPECT_EQ(file_bytes(root + "/lp-args"), std::string("-s ") + AV_PATH_DOC + "\n");
    harness_stop(h);
    h = open_viewer(harness_new_root(), ABSENT);
    ASSERT_NE(h, nullptr);
    // The path may lose its beginning to make room for the reason.
    EXPECT_TRUE(harness_wait_text(h, "Could not open: "));
    EXPECT_TRUE(harness_wait_text(h, "/conduvia/doc (No such file or directory)"));
    harness_stop(h);
}

} // namespace
