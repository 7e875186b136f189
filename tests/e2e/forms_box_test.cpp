// Message and yes/no boxes: geometry, title, bells, answers, background restored.
#include "test_util.h"

#include "widget_driver.h"

namespace {

std::string letters(int length, int from = 0, char a = 'a') {
    std::string text;
    for (int i = from; i < from + length; i++)
        text += (char)(a + i % 26);
    return text;
}

// The driver's background: every third row reverse.
void expect_background(Harness *h) {
    for (int r = 0; r < 23; r++) {
        EXPECT_EQ(harness_row_plain(h, r), letters(80, r, 'A')) << "row " << r;
        for (int c : {0, 40, 79})
            EXPECT_EQ(harness_reverse(h, r, c), r % 3 == 0) << "row " << r << " column " << c;
    }
    EXPECT_FALSE(harness_cursor_visible(h));
}

// The top border, the title centred on it in reverse.
void expect_top(Harness *h, int row, int left, int width, const std::string &title) {
    std::string border = "+" + std::string(width - 2, '-') + "+";
    int column = width / 2 - (int)title.size() / 2;
    EXPECT_EQ(harness_row_plain(h, row).substr(left, width),
              border.replace(column, title.size(), title));
    for (int c : {column - 1, column, column + (int)title.size() - 1})
        EXPECT_EQ(harness_reverse(h, row, left + c), c >= column && !title.empty()) << c;
    EXPECT_TRUE(left == 0 || harness_row_plain(h, row)[left - 1] == 'A' + (row + left - 1) % 26);
}

struct MessageCase {
    const char *what;
    std::vector<std::string> args;
    int length; // of the text shown
    std::string title;
};

using FormsMessage = testing::TestWithParam<MessageCase>;

TEST_P(FormsMessage, Geometry) {
    const auto &[what, args, length, title] = GetParam();
    Harness *h = forms_start(args, "Press any key to continue: ");
    ASSERT_NE(h, nullptr);
    int width = std::max(length + 4, 32), left = (80 - width) / 2;
    expect_top(h, 9, left, width, title);
    EXPECT_EQ(harness_row_plain(h, 10).substr(left + (width - length) / 2 - 1, length + 2),
              " " + letters(length) + " ");
    EXPECT_EQ(harness_row_plain(h, 12).substr(left + width / 2 - 14, 27),
              "Press any key to continue: ");
    EXPECT_EQ(harness_cursor(h), std::make_pair(12, left + width / 2 + 13));
    EXPECT_EQ(harness_bells(h), 1);
    forms_keys(h, "Esc");
    EXPECT_EQ(forms_status(h), "result=0");
    expect_background(h);
    forms_finish(h);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormsMessage,
    testing::Values(
        MessageCase{"narrow", {"message", "length=20"}, 20, " Note "},
        MessageCase{"error title", {"message", "length=33", "title=Error"}, 33, " Error "},
        MessageCase{"cut at 76", {"message", "length=100", "newline=1"}, 76, " Note "},
        MessageCase{"no title", {"message", "length=10", "newline=1", "title="}, 10, ""}),
    CaseName());

struct YesNoCase {
    const char *what;
    std::string arg, question, answers;
};

using FormsYesNo = testing::TestWithParam<YesNoCase>;

// Only Y, y, N and n answer; the echoed letter goes out before the box goes.
TEST_P(FormsYesNo, Answers) {
    const auto &[what, arg, question, answers] = GetParam();
    Harness *h = forms_start({"yesno", arg}, "(Y/N): ");
    ASSERT_NE(h, nullptr);
    int width = (int)question.size() + 13, left = (80 - width) / 2;
    for (char answer : answers) {
        if (answer != answers[0])
            forms_keys(h, "=q"); // asks again
        expect_top(h, 10, left, width, " CONFIRM ");
        EXPECT_EQ(harness_row_plain(h, 11).substr(left, width), "| " + question + " (Y/N):   |");
        EXPECT_EQ(harness_cursor(h), std::make_pair(11, left + width - 3));
        int bells = harness_bells(h);
        forms_keys(h, "=x Enter");
        EXPECT_EQ(harness_bells(h), bells + 2);
        size_t before = harness_output(h).size();
        forms_keys(h, std::string("=") + answer);
        bool yes = answer == 'y' || answer == 'Y';
        EXPECT_EQ(forms_status(h), yes ? "answer=1" : "answer=0");
        // The first printable byte outside escape sequences is the echo.
        std::string sent = harness_output(h).substr(before);
        size_t i = 0; // past control bytes, CSI sequences and charset switches
        while (i < sent.size() && (sent[i] < 0x20 || sent[i] == '\033'))
            i = sent[i] != '\033' ? i + 1
                : sent.compare(i + 1, 1, "[") == 0
                    ? std::min(sent.find_first_not_of("0123456789;?", i + 2), sent.size()) + 1
                    : i + (sent.compare(i + 1, 1, "(") == 0 ? 3 : 2);
        EXPECT_EQ(sent.substr(std::min(i, sent.size()), 1), yes ? "Y" : "N");
        expect_background(h);
    }
    forms_finish(h);
}

INSTANTIATE_TEST_SUITE_P(Cases, FormsYesNo,
                         testing::Values(YesNoCase{"question", "question=Lose all changes?",
                                                   "Lose all changes?", "yN"},
                                         YesNoCase{"cut at 67", "length=70", letters(67), "Yn"}),
                         CaseName());

} // namespace
