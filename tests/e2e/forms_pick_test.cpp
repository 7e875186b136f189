// The pick list through the driver: 20 rows from row 2, column 2, 76 wide,
// inside a box whose borders (rows 1 and 22) carry the "M" marks at column 78.
#include "forms_util.h"

namespace {

constexpr int FIRST_ROW = 2;
constexpr int COLUMN = 2;
constexpr int WIDTH = 76;
constexpr int MARK_COLUMN = COLUMN + WIDTH;

std::string entry_cells(Harness *h, int screen_row) {
    return forms_row(h, screen_row).substr(COLUMN, WIDTH);
}

std::string padded(const std::string &text) {
    return text + std::string(WIDTH - text.size(), ' ');
}

std::string entry(int i) {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "Entry %02d", i);
    return buffer;
}

// The one reverse row of the list area, -1 if none.
int highlighted_row(Harness *h, int rows = 20) {
    int found = -1;
    for (int r = 0; r < rows; r++) {
        bool reverse = harness_reverse(h, FIRST_ROW + r, COLUMN);
        EXPECT_EQ(reverse, harness_reverse(h, FIRST_ROW + r, COLUMN + WIDTH - 1))
            << "highlight must span the full width on row " << r;
        if (reverse) {
            EXPECT_EQ(found, -1) << "two highlighted rows";
            found = r;
        }
    }
    return found;
}

// Marks above and below: 'M' in reverse, or the border piece '-'.
std::string marks(Harness *h, int rows = 20) {
    std::string m;
    for (int row : {FIRST_ROW - 1, FIRST_ROW + rows}) {
        char c = forms_row(h, row)[MARK_COLUMN];
        if (c == 'M') {
            EXPECT_TRUE(harness_reverse(h, row, MARK_COLUMN));
        }
        m += c;
    }
    return m;
}

struct MoveCase {
    const char *name;
    std::vector<std::string> args;
    std::vector<std::string> keys; // the last one is returned ("=a")
    int current;
    int top;
    int bells;
    const char *marks;
};

TEST(FormsPick, Movement) {
    const std::vector<MoveCase> cases = {
        {"page down keeps the highlight row",
         {"pick", "current=5"},
         {"PgDn", "=a"},
         25,
         20,
         0,
         "M-"},
        {"page up from the last page", {"pick", "current=25"}, {"PgUp", "=a"}, 5, 0, 0, "-M"},
        {"page up clamps at the first entry", {"pick", "current=3"}, {"PgUp", "=a"}, 0, 0, 0, "-M"},
        {"tab moves half a page", {"pick"}, {"Tab", "Tab", "BackTab", "=a"}, 10, 10, 0, "M-"},
        {"space and down move one", {"pick"}, {"= ", "Down", "Up", "=a"}, 1, 0, 0, "-M"},
        {"down on the last visible row scrolls by one",
         {"pick", "current=19"},
         {"Down", "=a"},
         20,
         1,
         0,
         "MM"},
        {"down on the last entry rings", {"pick", "current=29"}, {"Down", "=a"}, 29, 10, 1, "M-"},
        {"up on the first entry rings", {"pick"}, {"Up", "PgUp", "BackTab", "=a"}, 0, 0, 3, "-M"},
        {"home goes to the top of the page, then of the list",
         {"pick", "current=25"},
         {"Home", "=a"},
         6,
         6,
         0,
         "MM"},
        {"second home", {"pick", "current=25"}, {"Home", "Home", "=a"}, 0, 0, 0, "-M"},
        {"home on the first entry rings", {"pick"}, {"Home", "=a"}, 0, 0, 1, "-M"},
        {"end goes to the bottom of the page, then of the list",
         {"pick"},
         {"End", "=a"},
         19,
         0,
         0,
         "-M"},
        {"second end", {"pick"}, {"End", "End", "=a"}, 29, 10, 0, "M-"},
        {"end on the last entry rings", {"pick", "current=29"}, {"End", "=a"}, 29, 10, 1, "M-"},
        {"with one row tab rings", {"pick", "rows=1"}, {"Tab", "Down", "=a"}, 1, 1, 1, "MM"},
        {"exactly a page shows no marks",
         {"pick", "count=20"},
         {"End", "End", "=a"},
         19,
         0,
         1,
         "--"},
        {"one more than a page: mark below", {"pick", "count=21"}, {"=a"}, 0, 0, 0, "-M"},
        {"one more than a page: mark above at the end",
         {"pick", "count=21"},
         {"End", "Down", "=a"},
         20,
         1,
         0,
         "M-"},
        {"keys without meaning ring",
         {"pick", "current=3"},
         {"=?", "Backspace", "Insert", "Ctrl-B", "=a"},
         3,
         0,
         4,
         "-M"},
    };
    for (const MoveCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args);
        ASSERT_NE(h, nullptr);
        forms_keys(h, c.keys);
        int count = 30;
        for (const std::string &a : c.args)
            if (a.rfind("count=", 0) == 0)
                count = std::stoi(a.substr(6));
        EXPECT_EQ(forms_status(h), "key=97 current=" + std::to_string(c.current) + " top=" +
                                       std::to_string(c.top) + " count=" + std::to_string(count));
        int rows = 20;
        for (const std::string &a : c.args)
            if (a.rfind("rows=", 0) == 0)
                rows = std::stoi(a.substr(5));
        EXPECT_EQ(highlighted_row(h, rows), c.current - c.top);
        EXPECT_EQ(entry_cells(h, FIRST_ROW), padded(entry(c.top)));
        EXPECT_EQ(marks(h, rows), c.marks);
        EXPECT_EQ(harness_bells(h), c.bells);
        EXPECT_EQ(harness_cursor(h), std::make_pair(23, 69));
        forms_finish(h);
    }
}

TEST(FormsPick, LastPageShowsBlankRowsBelow) {
    Harness *h = forms_start({"pick", "current=5"});
    ASSERT_NE(h, nullptr);
    forms_keys(h, {"PgDn"});
    for (int r = 0; r < 20; r++) {
        SCOPED_TRACE(r);
        EXPECT_EQ(entry_cells(h, FIRST_ROW + r), padded(r < 10 ? entry(20 + r) : ""));
    }
    EXPECT_EQ(highlighted_row(h), 5);
    forms_finish(h);
}

TEST(FormsPick, EmptyList) {
    Harness *h = forms_start({"pick", "count=0"});
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(highlighted_row(h), 0);
    for (int r = 0; r < 20; r++)
        EXPECT_EQ(entry_cells(h, FIRST_ROW + r), padded(""));
    EXPECT_EQ(marks(h), "--");
    forms_keys(h, {"Up", "Down", "= ", "PgUp", "PgDn", "Tab", "BackTab", "Home", "End"});
    EXPECT_EQ(harness_bells(h), 9);
    forms_keys(h, {"Enter"});
    EXPECT_EQ(forms_status(h), "key=13 current=0 top=0 count=0");
    forms_finish(h);
}

TEST(FormsPick, ReturnedKeysLeaveTheHighlight) {
    const std::vector<std::pair<std::string, int>> keys = {
        {"Enter", 13},  {"Esc", 27},    {"Left", 257},  {"Right", 260}, {"Delete", 264},
        {"F1", 300},    {"F5", 304},    {"F6", 305},    {"Ctrl-A", 1},  {"Ctrl-D", 4},
        {"Ctrl-G", 7},  {"Ctrl-J", 10}, {"Ctrl-K", 11}, {"Ctrl-L", 12}, {"Ctrl-R", 18},
        {"Ctrl-T", 20}, {"=!", 33},     {"=~", 126},    {"=/", 47},     {"=A", 65},
    };
    Harness *h = forms_start({"pick", "current=7"});
    ASSERT_NE(h, nullptr);
    for (const auto &[name, code] : keys) {
        SCOPED_TRACE(name);
        forms_keys(h, {name});
        EXPECT_EQ(forms_status(h), "key=" + std::to_string(code) + " current=7 top=0 count=30");
    }
    EXPECT_EQ(harness_bells(h), 0);
    forms_finish(h);
}

TEST(FormsPick, LongEntriesAreCutAndShortOnesPadded) {
    Harness *h = forms_start({"pick", "long", "current=1"});
    ASSERT_NE(h, nullptr);
    std::string first = entry_cells(h, FIRST_ROW);
    EXPECT_EQ(first, (entry(0) + " " + std::string(100, 'x')).substr(0, WIDTH));
    // The box's right side stays intact after the cut entry.
    EXPECT_EQ(forms_row(h, FIRST_ROW)[COLUMN + WIDTH], '|');
    EXPECT_EQ(highlighted_row(h), 1);
    EXPECT_TRUE(harness_reverse(h, FIRST_ROW + 1, COLUMN + WIDTH - 1));
    EXPECT_FALSE(harness_reverse(h, FIRST_ROW + 1, COLUMN + WIDTH));
    forms_finish(h);
}

TEST(FormsPick, ShrunkListPullsTheHighlightBack) {
    // The driver deletes the last entry each time "D" is returned.
    Harness *h = forms_start({"pick", "current=29", "delete-on=D"});
    ASSERT_NE(h, nullptr);
    forms_keys(h, {"=D", "=D", "=a"});
    EXPECT_EQ(forms_status(h), "key=97 current=27 top=10 count=28");
    EXPECT_EQ(highlighted_row(h), 17);
    EXPECT_EQ(entry_cells(h, FIRST_ROW + 17), padded(entry(27)));
    EXPECT_EQ(entry_cells(h, FIRST_ROW + 18), padded(""));
    EXPECT_EQ(marks(h), "M-");
    forms_finish(h);
}

} // namespace
