// The pager through the driver, laid out as the documentation screen: text
// rows 1 to 21, marks in the eight cells of row 22 from column 72.
#include "forms_util.h"

namespace {

std::string line(int i) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "Line %02d", i);
    return buffer;
}

// Text rows as line numbers: -1 for a blank row.
std::vector<int> shown_lines(Harness *h) {
    std::vector<int> shown;
    for (int r = 1; r <= 21; r++) {
        std::string row = forms_row(h, r);
        if (row == std::string(80, ' '))
            shown.push_back(-1);
        else if (row.rfind("Line ", 0) == 0)
            shown.push_back(std::stoi(row.substr(5, 2)));
        else
            shown.push_back(-2);
    }
    return shown;
}

std::vector<int> expected_lines(int from, int to) {
    std::vector<int> lines;
    for (int i = from; i <= to; i++)
        lines.push_back(i);
    while (lines.size() < 21)
        lines.push_back(-1);
    return lines;
}

// The 8 mark cells; reverse cells checked against the text positions.
std::string mark_cells(Harness *h) {
    std::string cells = forms_row(h, 22).substr(72, 8);
    for (int i = 0; i < 8; i++)
        EXPECT_EQ(harness_reverse(h, 22, 72 + i), cells[i] != '-') << "mark cell " << i;
    return cells;
}

struct PagerCase {
    const char *name;
    std::vector<std::string> args;
    std::vector<std::string> keys;
    int first; // first line shown
    int last;  // last line shown, -1 when none
    const char *marks;
    int bells;
};

TEST(FormsPager, Scrolling) {
    const std::vector<PagerCase> cases = {
        {"start of a long document", {"pager"}, {}, 0, 20, "- More v", 0},
        {"page down leaves blank rows", {"pager"}, {"PgDn"}, 20, 29, "^ More -", 0},
        {"page down then down rings", {"pager"}, {"PgDn", "Down"}, 20, 29, "^ More -", 1},
        {"end puts the last line on the last row", {"pager"}, {"End"}, 9, 29, "^ More -", 0},
        {"end twice rings", {"pager"}, {"End", "End"}, 9, 29, "^ More -", 1},
        {"home returns, second home rings",
         {"pager"},
         {"End", "Home", "Home"},
         0,
         20,
         "- More v",
         1},
        {"down and blank scroll by one", {"pager"}, {"Down", "= "}, 2, 22, "^ More v", 0},
        {"up and backspace scroll back",
         {"pager"},
         {"Down", "Down", "Up", "Backspace"},
         0,
         20,
         "- More v",
         0},
        {"up at the top rings",
         {"pager"},
         {"Up", "PgUp", "BackTab", "Backspace"},
         0,
         20,
         "- More v",
         4},
        {"tab scrolls half a page", {"pager", "count=60"}, {"Tab"}, 10, 30, "^ More v", 0},
        {"page down keeps one line",
         {"pager", "count=60"},
         {"PgDn", "PgDn", "PgUp"},
         20,
         40,
         "^ More v",
         0},
        {"backtab clamps at the top",
         {"pager", "count=60"},
         {"Down", "BackTab"},
         0,
         20,
         "- More v",
         0},
        {"a page that fits shows no marks",
         {"pager", "count=21"},
         {"Up", "Down", "= ", "PgUp", "PgDn", "Tab", "BackTab", "Home", "End", "Backspace"},
         0,
         20,
         "--------",
         10},
        {"empty document",
         {"pager", "count=0"},
         {"Down", "Up", "PgDn", "Home", "End", "Tab"},
         0,
         -1,
         "--------",
         6},
    };
    for (const PagerCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args);
        ASSERT_NE(h, nullptr);
        forms_keys(h, c.keys);
        EXPECT_EQ(shown_lines(h),
                  c.last < 0 ? std::vector<int>(21, -1) : expected_lines(c.first, c.last));
        EXPECT_EQ(mark_cells(h), c.marks);
        EXPECT_EQ(harness_bells(h), c.bells);
        EXPECT_EQ(harness_cursor(h), std::make_pair(23, 63));
        // Other keys come back to the screen with the place kept.
        forms_keys(h, {"=q"});
        int count = 30;
        for (const std::string &a : c.args)
            if (a.rfind("count=", 0) == 0)
                count = std::stoi(a.substr(6));
        EXPECT_EQ(forms_status(h),
                  "key=113 top=" + std::to_string(c.first) + " count=" + std::to_string(count));
        forms_finish(h);
    }
}

TEST(FormsPager, ReentryPullsTheLastLineDown) {
    Harness *h = forms_start({"pager"});
    ASSERT_NE(h, nullptr);
    forms_keys(h, {"PgDn", "Esc"});
    EXPECT_EQ(forms_status(h), "key=27 top=20 count=30");
    // The driver calls the pager again: the view comes back to a full page.
    EXPECT_EQ(shown_lines(h), expected_lines(9, 29));
    forms_keys(h, {"Enter"});
    EXPECT_EQ(forms_status(h), "key=13 top=9 count=30");
    EXPECT_EQ(harness_bells(h), 0);
    forms_finish(h);
}

TEST(FormsPager, LongLinesAreCut) {
    Harness *h = forms_start({"pager", "long"});
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(forms_row(h, 1), (line(0) + " " + std::string(100, 'x')).substr(0, 80));
    EXPECT_EQ(forms_row(h, 2), line(1) + std::string(80 - 7, ' '));
    // The title row and the rule under the text are left alone.
    EXPECT_EQ(forms_row(h, 0).substr(30, 8), "Document");
    EXPECT_EQ(forms_row(h, 22).substr(0, 72), std::string(72, '-'));
    forms_finish(h);
}

} // namespace
