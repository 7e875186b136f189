// Message and yes/no boxes: geometry, title, bells, answers, background restored.
#include "test_util.h"
#include "widget_screen.h"

#include "forms/forms.h"

namespace {

std::string letters(int length, int from = 0, char a = 'a') {
    std::string text;
    for (int i = from; i < from + length; i++)
        text += static_cast<char>(a + i % 26);
    return text;
}

// Over a known background that must come back intact, the box again after
// every key but F10. Returns where the box's result goes.
int *start_box(bool yesno, const std::string &title, const std::string &text) {
    static int result;
    result = -1;
    widget_start([yesno, title, text] {
        int window = win_create(-1, "Background", 0, 0, 24, 80);
        for (int row = 0; row < 23; row++)
            win_puts(window, row, 0, letters(80, row, 'A').c_str(), row % 3 ? 0 : ATTR_REV);
        win_show(window);
        do
            result = yesno ? yes_no_box(BOX_BEEP, title.c_str(), text.c_str())
                           : message_box(BOX_BEEP, title.c_str(), text.c_str());
        while (key_read() != KEY_F10);
        win_destroy(window);
    });
    return &result;
}

// Every third row reverse.
void expect_background() {
    for (int r = 0; r < 23; r++) {
        EXPECT_EQ(widget_row(r), letters(80, r, 'A')) << "row " << r;
        for (int c : {0, 40, 79})
            EXPECT_EQ(widget_reverse(r, c), r % 3 == 0) << "row " << r << " column " << c;
    }
    EXPECT_FALSE(widget_cursor_visible());
}

// The top border, the title centred on it in reverse.
void expect_top(int row, int left, int width, const std::string &title) {
    std::string border = "+" + std::string(width - 2, '-') + "+";
    int column = width / 2 - static_cast<int>(title.size()) / 2;
    EXPECT_EQ(widget_row(row).substr(left, width), border.replace(column, title.size(), title));
    for (int c : {column - 1, column, column + static_cast<int>(title.size()) - 1})
        EXPECT_EQ(widget_reverse(row, left + c), c >= column && !title.empty()) << c;
    EXPECT_TRUE(left == 0 || widget_row(row)[left - 1] == 'A' + (row + left - 1) % 26);
}

struct MessageCase {
    const char *what;
    std::string title, text;
    int length; // of the text shown
    std::string shown_title;
};

using FormsMessage = testing::TestWithParam<MessageCase>;

TEST_P(FormsMessage, Geometry) {
    const auto &[what, title, text, length, shown_title] = GetParam();
    int *result = start_box(false, title, text);
    int width = std::max(length + 4, 32), left = (80 - width) / 2;
    expect_top(9, left, width, shown_title);
    EXPECT_EQ(widget_row(10).substr(left + (width - length) / 2 - 1, length + 2),
              " " + letters(length) + " ");
    EXPECT_EQ(widget_row(12).substr(left + width / 2 - 14, 27), "Press any key to continue: ");
    EXPECT_EQ(widget_cursor(), std::make_pair(12, left + width / 2 + 13));
    EXPECT_EQ(widget_bells, 1);
    widget_keys("Esc");
    EXPECT_EQ(*result, 0);
    expect_background();
    widget_finish();
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormsMessage,
    testing::Values(MessageCase{"narrow", "Note", letters(20), 20, " Note "},
                    MessageCase{"error title", "Error", letters(33), 33, " Error "},
                    MessageCase{"cut at 76", "Note", letters(100) + "\n", 76, " Note "},
                    MessageCase{"no title", "", letters(10) + "\n", 10, ""}),
    CaseName());

struct YesNoCase {
    const char *what;
    std::string question, answers;
    int length; // of the question shown
};

using FormsYesNo = testing::TestWithParam<YesNoCase>;

// Only Y, y, N and n answer; the echoed letter goes out before the box goes.
TEST_P(FormsYesNo, Answers) {
    const auto &[what, question, answers, length] = GetParam();
    int *result = start_box(true, "CONFIRM", question);
    int width = length + 13, left = (80 - width) / 2;
    for (char answer : answers) {
        if (answer != answers[0])
            widget_keys("=q"); // asks again
        expect_top(10, left, width, " CONFIRM ");
        EXPECT_EQ(widget_row(11).substr(left, width),
                  "| " + question.substr(0, length) + " (Y/N):   |");
        EXPECT_EQ(widget_cursor(), std::make_pair(11, left + width - 3));
        int bells = widget_bells;
        widget_keys("=x Enter");
        EXPECT_EQ(widget_bells, bells + 2);
        size_t before = widget_sent.size();
        widget_keys(std::string("=") + answer);
        bool yes = answer == 'y' || answer == 'Y';
        EXPECT_EQ(*result, yes ? 1 : 0);
        // The first printable byte outside escape sequences is the echo.
        std::string sent = widget_sent.substr(before);
        size_t i = 0; // past control bytes, CSI sequences and charset switches
        while (i < sent.size() && (sent[i] < 0x20 || sent[i] == '\033'))
            i = sent[i] != '\033' ? i + 1
                : sent.compare(i + 1, 1, "[") == 0
                    ? std::min(sent.find_first_not_of("0123456789;?", i + 2), sent.size()) + 1
                    : i + (sent.compare(i + 1, 1, "(") == 0 ? 3 : 2);
        EXPECT_EQ(sent.substr(std::min(i, sent.size()), 1), yes ? "Y" : "N");
        expect_background();
    }
    widget_finish();
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsYesNo,
                         testing::Values(YesNoCase{"question", "Lose all changes?", "yN", 17},
                                         YesNoCase{"cut at 67", letters(70), "Yn", 67}),
                         CaseName());

} // namespace
