// Drawing into window cells: line pieces and their merging, text, clearing
// and the immediate cursor motion.
#include "win_test_util.h"

#include <functional>
#include <vector>

namespace {

TEST(WinDraw, LinePiecesMergeIntoTeesAndCrosses) {
    struct Case {
        const char *what;
        std::function<void(int)> draw; // into a blank 4 by 7 window
        std::vector<std::string> picture;
    } const cases[] = {
        {"frame",
         [](int w) { win_box(w, 0, 0, 0, -1, -1); },
         {"7-----9", "|     |", "|     |", "1-----3"}},
        {"separator with ends merged into the frame, crossed by a vline",
         [](int w) {
             win_box(w, 0, 0, 0, -1, -1);
             win_hline(w, 1, 1, 2, 0, -1);
             win_vline(w, 1, 1, 0, 3, -1);
         },
         {"7--8--9", "|  |  |", "4--5--6", "1--2--3"}},
        {"without merge the later piece replaces the joins",
         [](int w) {
             win_box(w, 0, 0, 0, -1, -1);
             win_hline(w, 0, 1, 1, 0, 4);
         },
         {"7-----9", "----  |", "|     |", "1-----3"}},
        {"merging over text ignores the text's old joins",
         [](int w) {
             win_line_cell(w, 0, 0, 1, 15);
             win_puts(w, 0, 1, "x", 0); // the cell keeps join mask 15
             win_hline(w, 1, 0, 0, 0, 3);
             win_line_cell(w, 1, 0, 1, 8);
         },
         {"-8-    ", "       ", "       ", "       "}},
        {"patterns: pieces by keypad digit, other characters skipped",
         [](int w) {
             win_puts(w, 1, 0, "abcdefg", 0);
             EXPECT_EQ(win_put_lines(w, 0, 0, 0, "7-8-9.|"), 7);
             EXPECT_EQ(win_put_lines(w, 0, 1, 0, "0 x1234"), 7);
             win_put_lines(w, 0, 2, 0, "56");
             win_line_cell(w, 0, 1, 1, 0); // no piece: character kept
         },
         {"7-8-9||", "-bc1234", "56     ", "       "}},
        {"pieces outside the window are skipped one by one",
         [](int w) {
             EXPECT_EQ(win_hline(w, 0, 0, 3, 5, 10), 0);
             EXPECT_EQ(win_box(w, 0, 2, -1, 4, 3), 0);
         },
         {"       ", "       ", "-9     ", " |   --"}},
    };
    start_screen();
    for (const Case &c : cases) {
        int w = win_create(-1, "draw", 0, 0, 4, 7);
        c.draw(w);
        for (int y = 0; y < 4; y++)
            EXPECT_EQ(row_text(w, y), c.picture[y]) << c.what << ", row " << y;
        win_destroy(w);
    }
    int w = win_create(-1, "draw", 0, 0, 4, 7);
    win_box(w, 0, 0, 0, -1, -1);
    EXPECT_EQ(cell_at(w, 0, 0).attribute, ATTR_LINE);
    EXPECT_EQ(cell_at(w, 0, 0).colour, 0xB0) << "line pieces keep the cell's colour";
    EXPECT_EQ(win_hline(w, 0, 0, 0, 7, -1), -1);
    EXPECT_EQ(win_vline(w, 0, 0, 0, 0, 0), -1);
    EXPECT_EQ(win_box(w, 0, 0, 0, 1, 5), -1);
    EXPECT_EQ(win_line_cell(w, 0, 4, 0, 6), -1);
    EXPECT_EQ(win_put_lines(42, 0, 0, 0, "-"), -1);
}

TEST(WinDraw, PutsPositionsAttributesAndColours) {
    struct Case {
        int row, column;
        const char *text;
        int attribute, written, first_cell, cursor_row, cursor_column;
        unsigned char cell_attribute, colour;
    } const cases[] = {
        {2, 2, "abc", 1, 3, 22, 2, 5, 1, 0x4F},       // reverse
        {0, 0, "ab", ATTR_BOLD, 2, 0, 0, 2, 4, 0xB0}, // other attributes: normal colour
        {0, 0, "a", ATTR_LINE, 1, 0, 0, 1, 16, 0xC0}, // line colour
        {0, 0, "a", 255, 1, 0, 0, 1, ATTR_UND, 0xB0}, // the window's own attribute
        {-1, -1, "xy", 0, 2, 14, 1, 6, 0, 0xB0},      // continues at the cursor
        {-1, 7, "xy", 0, 2, 17, 1, 9, 0, 0xB0},       // keeps the row only
        {3, 2, "xy", 0, 2, 0, 0, 2, 0, 0xB0},         // outside: from the top-left
        {0, 8, "abcd", 0, 4, 8, 0, 12, 0, 0xB0},      // runs on into the next row
        {2, 8, "abcd", 0, 2, 28, 2, 10, 0, 0xB0},     // stops after the last cell
        {2, 3, "", 0, 0, 23, 2, 3, 0, 0xB0},          // empty: only moves the cursor
    };
    start_screen();
    for (const Case &c : cases) {
        int w = win_create(-1, "text", 0, 0, 3, 10);
        Window *r = win_lookup(w);
        r->attribute = ATTR_UND;
        win_cursor(w, 1, 4);
        EXPECT_EQ(win_puts(w, c.row, c.column, c.text, c.attribute), c.written) << c.text;
        EXPECT_EQ(r->cursor_row * 100 + r->cursor_column, c.cursor_row * 100 + c.cursor_column)
            << c.text;
        EXPECT_EQ(r->attribute, ATTR_UND) << "the window's attribute is given back";
        for (int i = 0; i < c.written; i++) {
            const Cell &cell = r->cells[c.first_cell + i];
            EXPECT_EQ(cell.character, static_cast<unsigned char>(c.text[i])) << c.text;
            EXPECT_EQ(cell.attribute, c.cell_attribute) << c.text;
            EXPECT_EQ(cell.colour, c.colour) << c.text;
        }
        win_destroy(w);
    }
}

TEST(WinDraw, ClearMarksScreenCellsOnlyWhileAsked) {
    start_screen();
    int w = win_create(-1, "w", 0, 0, 3, 4);
    for (int y = 0; y < 3; y++)
        win_puts(w, y, 0, "abcd", 1);
    EXPECT_EQ(win_clear(w, 1, 2, -1, -1), 0);
    EXPECT_EQ(win_clear(w, -1, -1, 2, 2), 0); // only (0, 0) lies inside
    EXPECT_EQ(row_text(w, 0) + row_text(w, 1) + row_text(w, 2), " bcdab  ab  ");
    EXPECT_TRUE(cell_at(w, 2, 3).attribute == 0 && cell_at(w, 2, 3).colour == 0xB0);
    EXPECT_EQ(cell_at(0, 5, 5).attribute, 0) << "start-up leaves the image unmarked";
    win_clear(0, 2, 3, 1, 2);
    EXPECT_EQ(cell_at(0, 2, 4).attribute, ATTR_CHANGED);
    EXPECT_EQ(cell_at(0, 2, 5).attribute, 0);
}

TEST(WinDraw, CursorMovesTheTerminalCursorAtOnceOnStandardError) {
    start_screen();
    int w = win_create(-1, "w", 2, 3, 5, 10);
    int low = win_create(-1, "low", 22, 75, 5, 10);
    struct Case {
        int id, row, column;
        const char *motion;
    } const cases[] = {
        {w, 1, 2, "<3,5>"}, {w, -1, -1, "<3,5>"}, {w, -1, 4, "<3,7>"},
        {w, 9, 9, "<2,3>"}, {low, 3, 4, ""},      {low, 1, 4, "<23,78><23,79>"},
    };
    for (const Case &c : cases)
        EXPECT_EQ(capture_fd(2, [&] { win_cursor(c.id, c.row, c.column); }), c.motion)
            << c.row << "," << c.column;
    EXPECT_EQ(sent([&] { win_cursor(w, 0, 0); }), "");
}

} // namespace
