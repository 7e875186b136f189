// Modal message and yes/no boxes, centred on the 80-column screen image.
#include <cstdio>
#include <cstring>

#include "forms/forms.h"
#include "term/term.h"
#include "win/win.h"

namespace {

constexpr int MESSAGE_TEXT_MAX = 76;
constexpr int QUESTION_MAX = 67;

// Writes the title over the top border, centred, cut to the box width so it
// can never spill into the next row.
void put_title(int window, int width, const char *title) {
    char text[WIN_SCREEN_COLUMNS + 1];
    std::snprintf(text, sizeof text, " %s ", title);
    int length = static_cast<int>(std::strlen(text));
    if (length > width) {
        length = width;
        text[length] = '\0';
    }
    win_puts(window, 0, width / 2 - length / 2, text, ATTR_REV);
}

} // namespace

int message_box(int beep, const char *title, const char *text) {
    term_cursor_off();
    if (title == nullptr)
        title = "";
    if (text == nullptr)
        text = "";

    char line[MESSAGE_TEXT_MAX + 1];
    int length = static_cast<int>(strnlen(text, MESSAGE_TEXT_MAX + 1));
    if (length > MESSAGE_TEXT_MAX) {
        length = MESSAGE_TEXT_MAX;
    } else if (length > 0 && text[length - 1] == '\n') {
        length--;
    }
    std::memcpy(line, text, static_cast<size_t>(length));
    line[length] = '\0';

    int width = length + 4 < 32 ? 32 : length + 4;
    int window = win_create(-1, "Message Box", 9, (WIN_SCREEN_COLUMNS - width) / 2, 5, width);
    if (window < 0) {
        // No window to draw in: still give the bell that was asked for, then
        // return as if a key had been read, so that the caller goes on.
        if (beep == 1)
            term_beep();
        return 0;
    }
    win_box(window, WIN_REPLACE, 0, 0, WIN_ALL, WIN_ALL);
    if (title[0] != '\0')
        put_title(window, width, title);
    win_puts(window, 1, length <= 32 ? (width - length) / 2 : 2, line, 0);
    win_hline(window, WIN_MERGE, WIN_ENDS, 2, 0, WIN_ALL);
    win_puts(window, 3, width / 2 - 14, "Press any key to continue: ", 0);
    if (beep == 1)
        term_beep();
    win_show(window);
    win_cursor(window, 3, width / 2 + 13);
    term_cursor_on();
    // Any key closes, a key sequence the table does not bind as well.
    key_read_any();
    term_cursor_off();
    win_destroy(window);
    return 0;
}

int yes_no_box(int beep, const char *title, const char *question) {
    term_cursor_off();
    if (title == nullptr)
        title = "";
    if (question == nullptr)
        question = "";

    char prompt[QUESTION_MAX + 9];
    int length = static_cast<int>(strnlen(question, QUESTION_MAX));
    std::memcpy(prompt, question, static_cast<size_t>(length));
    std::memcpy(prompt + length, " (Y/N): ", 9);

    int width = length + 13;
    int window = win_create(-1, "YesNo Box", 10, (WIN_SCREEN_COLUMNS - width) / 2, 3, width);
    if (window < 0) {
        // Without a window the question cannot be asked; no is the answer
        // that changes nothing.
        if (beep == 1)
            term_beep();
        return 0;
    }
    win_box(window, WIN_REPLACE, 0, 0, WIN_ALL, WIN_ALL);
    put_title(window, width, title);
    win_puts(window, 1, 2, prompt, 0);
    if (beep == 1)
        term_beep();
    win_show(window);
    win_cursor(window, 1, width - 3);
    term_cursor_on();

    int answer = -1;
    while (answer < 0) {
        int key = key_read();
        if (key == 'Y' || key == 'y')
            answer = 1;
        else if (key == 'N' || key == 'n')
            answer = 0;
        else
            term_beep();
    }
    // The echo reaches the terminal before the box goes.
    win_puts(window, 1, width - 3, answer ? "Y" : "N", 0);
    win_refresh(window, 0, 0, WIN_ALL, WIN_ALL);
    term_cursor_off();
    win_destroy(window);
    return answer;
}
