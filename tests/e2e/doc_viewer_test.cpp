// The documentation viewer, driven from the main menu of the real program.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>

#include "harness.h"
#include "support/paths.h"

namespace {

const char TITLE[] = "Ardovane PC Conduvia - On-Line Documentation";

std::string numbered_lines(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "line " + std::to_string(i) + "\n";
    return text;
}

std::string read_file(const std::string &path) {
    std::ifstream in(path);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void write_file(const std::string &path, const std::string &text) {
    std::ofstream out(path);
    out << text;
}

// A directory holding a stand-in "lp" that records its arguments, to be put
// first on the program's PATH. The real one must never run from a test.
struct FakeLp {
    std::string dir;
    std::string record;
};

FakeLp make_fake_lp(const std::string &root, bool present) {
    FakeLp lp;
    lp.dir = root + "-bin";
    lp.record = root + "-lp-args";
    std::filesystem::create_directories(lp.dir);
    if (present) {
        std::string script = lp.dir + "/lp";
        write_file(script, "#!/bin/sh\necho \"$@\" > '" + lp.record + "'\necho request id is x\n");
        chmod(script.c_str(), 0755);
    }
    return lp;
}

struct Viewer {
    Harness *h = nullptr;
    FakeLp lp;
};

// Starts the program with the given document (none when doc is null), then
// opens the viewer with menu_key.
Viewer open_viewer(const char *doc, bool lp_present = true, const std::string &menu_key = "?") {
    Viewer v;
    std::string root = harness_new_root();
    if (doc != nullptr)
        write_file(root + "/conduvia/doc", doc);
    v.lp = make_fake_lp(root, lp_present);
    HarnessOptions options;
    options.root = root;
    options.env = {"PATH=" + v.lp.dir + ":/usr/bin:/bin"};
    v.h = harness_start(options);
    if (v.h == nullptr)
        return v;
    EXPECT_TRUE(harness_wait_text(v.h, "Configuration Program"));
    harness_type(v.h, menu_key);
    harness_wait_quiet(v.h);
    return v;
}

// Columns [start, start + n) of a screen row; the row comes as UTF-8, where
// line-drawing pieces take several bytes each.
std::string row_cells(const std::string &row, int start, int n) {
    std::string out;
    int column = -1;
    for (unsigned char c : row) {
        if ((c & 0xC0) != 0x80)
            ++column;
        if (column >= start + n)
            break;
        if (column >= start)
            out += static_cast<char>(c);
    }
    return out;
}

bool in_viewer(Harness *h) {
    return harness_row(h, 0).find(TITLE) != std::string::npos;
}

TEST(DocViewer, FrameTitleLegendAndFirstPage) {
    std::string doc = numbered_lines(30);
    Viewer v = open_viewer(doc.c_str());
    ASSERT_NE(v.h, nullptr);
    Harness *h = v.h;
    ASSERT_TRUE(harness_wait_text(h, TITLE));
    harness_wait_quiet(h);

    EXPECT_EQ(harness_row(h, 0),
              "                  Ardovane PC Conduvia - On-Line Documentation                  ");
    EXPECT_TRUE(harness_reverse(h, 0, 0));
    EXPECT_TRUE(harness_reverse(h, 0, 79));

    std::string legend = harness_row(h, 23);
    EXPECT_EQ(legend.substr(18, 45), "Use ARROWS to move, H to hardcopy, X to exit.");
    EXPECT_EQ(legend.find_first_not_of(' ', 63), std::string::npos) << legend;
    struct {
        int column;
        bool reverse;
    } cells[] = {{18, false}, {22, true}, {27, true},  {28, false}, {38, true},
                 {39, false}, {53, true}, {54, false}, {62, false}};
    for (auto c : cells)
        EXPECT_EQ(harness_reverse(h, 23, c.column), c.reverse) << "column " << c.column;

    for (int row = 1; row <= 21; ++row)
        EXPECT_EQ(harness_row(h, row).substr(0, 8),
                  ("line " + std::to_string(row - 1) + "   ").substr(0, 8))
            << "row " << row;
    // Marks: one line piece, then " More v" in reverse video.
    std::string marks = harness_row(h, 22);
    EXPECT_EQ(row_cells(marks, 73, 7), " More v");
    EXPECT_NE(row_cells(marks, 72, 1), " ") << "no line piece before the mark";
    EXPECT_TRUE(harness_reverse(h, 22, 73));
    EXPECT_FALSE(harness_reverse(h, 22, 72));
    EXPECT_EQ(harness_cursor(h), std::make_pair(23, 63));

    harness_key(h, "PgDn");
    harness_wait_quiet(h);
    EXPECT_EQ(row_cells(harness_row(h, 22), 72, 7), "^ More ");
    EXPECT_EQ(harness_row(h, 1).substr(0, 8), "line 20 ");
    EXPECT_EQ(harness_row(h, 10).substr(0, 8), "line 29 ");
    EXPECT_EQ(harness_row(h, 11), std::string(80, ' '));
    EXPECT_EQ(harness_row(h, 21), std::string(80, ' '));

    harness_stop(h);
}

TEST(DocViewer, LongLinesAreCutAtEightyColumns) {
    std::string longline;
    for (int i = 0; i < 100; ++i)
        longline += static_cast<char>('A' + i % 26);
    std::string doc = longline + "\nnext\n";
    Viewer v = open_viewer(doc.c_str());
    ASSERT_NE(v.h, nullptr);
    ASSERT_TRUE(harness_wait_text(v.h, TITLE));
    harness_wait_quiet(v.h);
    EXPECT_EQ(harness_row(v.h, 1), longline.substr(0, 80));
    EXPECT_EQ(harness_row(v.h, 2).substr(0, 5), "next ");
    // A short document shows no marks: nothing but line pieces on row 22.
    EXPECT_EQ(harness_row(v.h, 22).find("More"), std::string::npos);
    harness_stop(v.h);
}

// Every leaving key returns to the menu; "/" opens the viewer as "?" does.
TEST(DocViewer, LeavingKeys) {
    Viewer v = open_viewer("text\n");
    ASSERT_NE(v.h, nullptr);
    Harness *h = v.h;
    const char *keys[] = {"X", "x", "Esc", "F5", "F6", "Ctrl-D", "Ctrl-G"};
    int round = 0;
    for (const char *key : keys) {
        if (round++ > 0) {
            harness_type(h, round % 2 ? "?" : "/");
            harness_wait_quiet(h);
        }
        ASSERT_TRUE(harness_wait_text(h, TITLE)) << "viewer not open before " << key;
        std::string k = key;
        if (k.size() == 1)
            harness_type(h, k);
        else
            harness_key(h, k);
        harness_wait_quiet(h, 300);
        EXPECT_FALSE(in_viewer(h)) << key << " did not leave the viewer";
        EXPECT_NE(harness_screen(h).find("X - Exit Configuration Program"), std::string::npos)
            << key;
    }
    harness_type(h, "X");
    EXPECT_EQ(harness_wait_exit(h), 0);
    harness_stop(h);
}

TEST(DocViewer, OtherKeysRingTheBellAndStay) {
    Viewer v = open_viewer(numbered_lines(30).c_str());
    ASSERT_NE(v.h, nullptr);
    Harness *h = v.h;
    ASSERT_TRUE(harness_wait_text(h, TITLE));
    harness_wait_quiet(h);
    std::string before = harness_screen(h);
    int bells = harness_bells(h);
    harness_type(h, "Z");
    harness_key(h, "F1");
    harness_wait_quiet(h);
    EXPECT_EQ(harness_bells(h), bells + 2);
    EXPECT_EQ(harness_screen(h), before);
    harness_stop(h);
}

TEST(DocViewer, PrintDeclinedRunsNothing) {
    std::string doc = numbered_lines(30);
    Viewer v = open_viewer(doc.c_str());
    ASSERT_NE(v.h, nullptr);
    Harness *h = v.h;
    ASSERT_TRUE(harness_wait_text(h, TITLE));
    harness_key(h, "Down");
    harness_key(h, "Down");
    harness_wait_quiet(h);
    std::string page = harness_screen(h);
    ASSERT_NE(page.find("\nline 2 "), std::string::npos);

    harness_type(h, "h");
    ASSERT_TRUE(harness_wait_text(h, "Print this information on the default printer?"));
    EXPECT_NE(harness_screen(h).find("CONFIRM"), std::string::npos);
    harness_type(h, "N");
    harness_wait_quiet(h, 300);
    EXPECT_FALSE(std::filesystem::exists(v.lp.record)) << "lp ran after N";
    EXPECT_EQ(harness_screen(h), page) << "not back on the same page";
    EXPECT_EQ(harness_screen(h).find("Help file printed."), std::string::npos);
    harness_stop(h);
}

// The print command runs through the shell with "-s" and the document's
// path; the confirmation comes whether lp exists or not, and nothing the
// shell or lp says reaches the screen.
TEST(DocViewer, PrintConfirmedWithAndWithoutLp) {
    struct Case {
        bool lp_present;
        const char *doc;
    } cases[] = {{true, "some text\n"}, {false, "some text\n"}, {true, ""}};
    for (const Case &c : cases) {
        SCOPED_TRACE(std::string("lp present: ") + (c.lp_present ? "yes" : "no") +
                     ", document bytes: " + std::to_string(std::string(c.doc).size()));
        Viewer v = open_viewer(c.doc, c.lp_present);
        ASSERT_NE(v.h, nullptr);
        Harness *h = v.h;
        ASSERT_TRUE(harness_wait_text(h, TITLE));
        harness_type(h, "H");
        ASSERT_TRUE(harness_wait_text(h, "Print this information on the default printer?"));
        harness_type(h, "y");
        ASSERT_TRUE(harness_wait_text(h, "Help file printed."));
        harness_wait_quiet(h);
        std::string screen = harness_screen(h);
        EXPECT_EQ(screen.find("not found"), std::string::npos) << screen;
        EXPECT_EQ(screen.find("request id"), std::string::npos) << screen;
        if (c.lp_present)
            EXPECT_EQ(read_file(v.lp.record), std::string("-s ") + AV_PATH_DOC + "\n");
        else
            EXPECT_FALSE(std::filesystem::exists(v.lp.record));
        harness_type(h, " ");
        harness_wait_quiet(h, 300);
        EXPECT_TRUE(in_viewer(h)) << "printing left the viewer";
        EXPECT_EQ(harness_screen(h).find("Help file printed."), std::string::npos);
        harness_stop(h);
    }
}

TEST(DocViewer, MissingDocumentIsReported) {
    Viewer v = open_viewer(nullptr);
    ASSERT_NE(v.h, nullptr);
    Harness *h = v.h;
    ASSERT_TRUE(harness_wait_text(h, std::string("Could not open: ") + AV_PATH_DOC));
    EXPECT_NE(harness_screen(h).find(" Error "), std::string::npos);
    harness_type(h, " ");
    harness_wait_quiet(h, 300);
    EXPECT_FALSE(in_viewer(h));
    EXPECT_NE(harness_screen(h).find("X - Exit Configuration Program"), std::string::npos);
    harness_type(h, "x");
    EXPECT_EQ(harness_wait_exit(h), 0);
    harness_stop(h);
}

} // namespace
