// Message and yes/no boxes over a known background: geometry, titles, bells,
// answers, and the background back exactly as it was.
#include "forms_util.h"

namespace {

// The background the driver draws: row r, column c holds 'A' + (r + c) % 26,
// in reverse on every third row.
char background(int row, int column) {
    return (char)('A' + (row + column) % 26);
}

void expect_background(Harness *h, int from_row, int to_row) {
    for (int r = from_row; r <= to_row; r++) {
        std::string row = forms_row(h, r);
        std::string expected;
        for (int c = 0; c < 80; c++)
            expected += background(r, c);
        EXPECT_EQ(row, expected) << "row " << r;
        for (int c : {0, 40, 79})
            EXPECT_EQ(harness_reverse(h, r, c), r % 3 == 0) << "row " << r << " column " << c;
    }
}

std::string letters(int length) {
    std::string text;
    for (int i = 0; i < length; i++)
        text += (char)('a' + i % 26);
    return text;
}

struct MessageCase {
    const char *name;
    std::vector<std::string> args;
    int width;
    int text_column;   // screen column
    std::string text;  // as shown
    int title_column;  // screen column of the title string, -1 for none
    std::string title; // title string as shown
    int bells;
};

TEST(FormsBox, MessageGeometry) {
    const std::vector<MessageCase> cases = {
        {"short text gives the minimum width",
         {"message", "length=20"},
         32,
         30,
         letters(20),
         37,
         " Note ",
         1},
        {"32 characters are centred",
         {"message", "length=32", "title=Error"},
         36,
         24,
         letters(32),
         37,
         " Error ",
         1},
        {"33 characters start at column 2",
         {"message", "length=33", "beep=0"},
         37,
         23,
         letters(33),
         36,
         " Note ",
         0},
        {"long text is cut to 76",
         {"message", "length=100", "newline"},
         80,
         2,
         letters(76),
         37,
         " Note ",
         1},
        {"trailing newline is dropped",
         {"message", "length=10", "newline", "title="},
         32,
         35,
         letters(10),
         -1,
         "",
         1},
    };
    for (const MessageCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args, "Press any key to continue: ");
        ASSERT_NE(h, nullptr);
        int left = (80 - c.width) / 2;
        int right = left + c.width - 1;
        std::string top = forms_row(h, 9);
        EXPECT_EQ(top[left], '+');
        EXPECT_EQ(top[right], '+');
        if (left > 0) {
            EXPECT_EQ(top[left - 1], background(9, left - 1));
        }
        if (c.title_column >= 0) {
            EXPECT_EQ(top.substr(c.title_column, c.title.size()), c.title);
            EXPECT_TRUE(harness_reverse(h, 9, c.title_column));
            EXPECT_TRUE(harness_reverse(h, 9, c.title_column + (int)c.title.size() - 1));
            EXPECT_EQ(top[c.title_column - 1], '-');
            EXPECT_FALSE(harness_reverse(h, 9, c.title_column - 1));
        } else {
            EXPECT_EQ(top.substr(left + 1, c.width - 2), std::string(c.width - 2, '-'));
        }
        std::string text_row = forms_row(h, 10);
        EXPECT_EQ(text_row[left], '|');
        EXPECT_EQ(text_row.substr(c.text_column, c.text.size()), c.text);
        EXPECT_EQ(text_row[c.text_column - 1], c.text_column - 1 == left ? '|' : ' ');
        EXPECT_FALSE(harness_reverse(h, 10, c.text_column));
        // The separator meets the sides in tees.
        EXPECT_EQ(forms_row(h, 11).substr(left, c.width),
                  "+" + std::string(c.width - 2, '-') + "+");
        int prompt = left + c.width / 2 - 14;
        EXPECT_EQ(forms_row(h, 12).substr(prompt, 27), "Press any key to continue: ");
        EXPECT_EQ(forms_row(h, 13)[right], '+');
        EXPECT_EQ(harness_cursor(h), std::make_pair(12, left + c.width / 2 + 13));
        EXPECT_TRUE(harness_cursor_visible(h));
        EXPECT_EQ(harness_bells(h), c.bells);

        forms_keys(h, {"Esc"});
        EXPECT_EQ(forms_status(h), "message done result=0");
        expect_background(h, 8, 14);
        EXPECT_FALSE(harness_cursor_visible(h));
        EXPECT_EQ(harness_bells(h), c.bells);
        forms_finish(h);
    }
}

struct YesNoCase {
    const char *name;
    std::vector<std::string> args;
    std::vector<std::string> keys;
    int width;
    std::string question; // as shown
    int answer;
    int bells;
};

TEST(FormsBox, YesNo) {
    const std::vector<YesNoCase> cases = {
        {"lower-case y answers yes after refused keys",
         {"yesno", "question=Lose all changes?"},
         {"Esc", "Enter", "=x"},
         30,
         "Lose all changes?",
         1,
         4},
        {"capital N answers no",
         {"yesno", "question=Delete this entry?", "beep=0"},
         {},
         31,
         "Delete this entry?",
         0,
         0},
        {"long question is cut to 67", {"yesno", "length=70"}, {}, 80, letters(67), 1, 1},
        {"question of exactly 67", {"yesno", "length=67", "title="}, {}, 80, letters(67), 0, 1},
    };
    for (const YesNoCase &c : cases) {
        SCOPED_TRACE(c.name);
        Harness *h = forms_start(c.args, "(Y/N): ");
        ASSERT_NE(h, nullptr);
        int left = (80 - c.width) / 2;
        std::string top = forms_row(h, 10);
        EXPECT_EQ(top[left], '+');
        EXPECT_EQ(top[left + c.width - 1], '+');
        bool empty_title = false;
        for (const std::string &a : c.args)
            empty_title = empty_title || a == "title=";
        // The title is drawn even when empty: two reverse blanks.
        std::string title = empty_title ? "  " : " CONFIRM ";
        int title_column = left + c.width / 2 - (int)title.size() / 2;
        EXPECT_EQ(top.substr(title_column, title.size()), title);
        EXPECT_TRUE(harness_reverse(h, 10, title_column));
        EXPECT_TRUE(harness_reverse(h, 10, title_column + (int)title.size() - 1));
        std::string prompt = c.question + " (Y/N): ";
        EXPECT_EQ(forms_row(h, 11).substr(left + 2, prompt.size()), prompt);
        EXPECT_EQ(left + 2 + (int)prompt.size(), left + c.width - 3);
        EXPECT_EQ(forms_row(h, 12)[left + c.width - 1], '+');
        EXPECT_EQ(harness_cursor(h), std::make_pair(11, left + c.width - 3));
        EXPECT_TRUE(harness_cursor_visible(h));

        forms_keys(h, c.keys);
        size_t before = harness_output(h).size();
        forms_keys(h, {c.answer ? "=y" : "=N"});
        EXPECT_EQ(forms_status(h), "answer=" + std::to_string(c.answer));
        EXPECT_EQ(harness_bells(h), c.bells);
        // The echoed letter is the first character sent after the answer,
        // before the background comes back.
        std::string sent = harness_output(h).substr(before);
        std::string plain;
        for (size_t i = 0; i < sent.size(); i++) {
            if (sent[i] == '\033' && i + 1 < sent.size() && sent[i + 1] == '[') {
                i += 2;
                while (i < sent.size() && !(sent[i] >= 0x40 && sent[i] <= 0x7e))
                    i++;
            } else if (sent[i] == '\033') {
                i += 2;
            } else if (sent[i] >= 0x20 && sent[i] < 0x7f) {
                plain += sent[i];
            }
        }
        ASSERT_FALSE(plain.empty());
        EXPECT_EQ(plain[0], c.answer ? 'Y' : 'N');
        expect_background(h, 9, 13);
        EXPECT_FALSE(harness_cursor_visible(h));
        forms_finish(h);
    }
}

} // namespace

namespace {

TEST(FormsBox, NoWindowLeftStillReturns) {
    // Without a window: the message box goes on as if a key was read, the
    // question is answered no; the bell still sounds and nothing is drawn.
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"message", "message done result=0"},
        {"yesno", "answer=0"},
    };
    for (const auto &[scenario, status] : cases) {
        SCOPED_TRACE(scenario);
        Harness *h = forms_start({scenario, "full"}, status);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(forms_status(h), status);
        EXPECT_EQ(harness_bells(h), 1);
        expect_background(h, 0, 22);
        forms_finish(h);
    }
}

TEST(FormsLegend, KeysInReverseWordsNormal) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"escape=1", "F6 Save  ESC Cancel"},
        {"escape=0", "F6 Save  F5 Cancel"},
    };
    for (const auto &[setting, text] : cases) {
        SCOPED_TRACE(setting);
        Harness *h = forms_start({"legend", setting}, "column=");
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(forms_row(h, 20).substr(1, text.size()), text);
        EXPECT_EQ(forms_status(h), "column=" + std::to_string(1 + text.size()));
        // Reverse exactly on the key names.
        size_t cancel_key = text.find("  ") + 2;
        for (size_t i = 0; i < text.size(); i++) {
            bool key = i < 2 || (i >= cancel_key && i < text.find(' ', cancel_key));
            EXPECT_EQ(harness_reverse(h, 20, 1 + (int)i), key) << "column " << i;
        }
        EXPECT_FALSE(harness_reverse(h, 20, 0));
        forms_finish(h);
    }
}

} // namespace
