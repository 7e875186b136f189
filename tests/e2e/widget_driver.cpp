// Test program for the form widgets: sets the terminal up as avconfig does,
// runs one widget in a full-screen window and writes what the widget returned
// on the last row, so that a test reading the screen can check it. F10 (when
// the widget returns it) or any key after a box ends the run.
//
//   widget_driver field  [width=N] [max=N] [text=S] [digits] [noblanks]
//                        [refused=S] [insert=1]
//   widget_driver pick   [count=N] [rows=N] [width=N] [current=N] [long]
//                        [delete-on=C]
//   widget_driver radio  [count=N] [selected=N] [focus=N]
//   widget_driver pager  [count=N] [long]
//   widget_driver message [beep=0|1] [title=S] [text=S] [length=N] [newline] [full]
//   widget_driver yesno  [beep=0|1] [title=S] [question=S] [length=N] [full]
//   widget_driver legend [escape=0|1]
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "forms/forms.h"
#include "support/support.h"
#include "term/term.h"
#include "win/win.h"

namespace {

int argc_g;
char **argv_g;

const char *option(const char *name, const char *fallback) {
    size_t n = std::strlen(name);
    for (int i = 2; i < argc_g; i++) {
        if (std::strncmp(argv_g[i], name, n) == 0) {
            if (argv_g[i][n] == '=')
                return argv_g[i] + n + 1;
            if (argv_g[i][n] == '\0')
                return "1";
        }
    }
    return fallback;
}

int number(const char *name, int fallback) {
    const char *value = option(name, nullptr);
    return value ? std::atoi(value) : fallback;
}

int main_window;

// Status lines: row 23 (columns 0 to 59, clear of the parked cursors) and,
// for the text field, row 22 for the whole text.
void status(int row, const std::string &text) {
    int width = row == 23 ? 60 : 80;
    win_clear(main_window, row, 0, 1, width);
    win_puts(main_window, row, 0, text.substr(0, (size_t)width).c_str(), 0);
    win_refresh(main_window, 0, 0, -1, -1);
}

std::string fmt(const char *format, ...) __attribute__((format(printf, 1, 2)));
std::string fmt(const char *format, ...) {
    char buffer[512];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(buffer, sizeof buffer, format, ap);
    va_end(ap);
    return buffer;
}

std::string repeat_text(int length, bool newline) {
    std::string text;
    for (int i = 0; i < length; i++)
        text += (char)('a' + i % 26);
    if (newline)
        text += '\n';
    return text;
}

List *numbered_list(const char *word, int count, bool long_first) {
    List *list = list_create(25);
    for (int i = 0; i < count; i++) {
        std::string text = fmt("%s %02d", word, i);
        if (long_first && i == 0)
            text += " " + std::string(100, 'x') + "END";
        list_append(list, str_dup(text.c_str()), str_free);
    }
    return list;
}

int run_field() {
    TextField field;
    field_init(&field);
    field.window = main_window;
    field.row = 5;
    field.column = 10;
    field.width = number("width", 15);
    field.maximum = number("max", 15);
    field.digits_only = option("digits", nullptr) != nullptr;
    field.no_blanks = option("noblanks", nullptr) != nullptr;
    std::snprintf(field.refused, sizeof field.refused, "%s", option("refused", ""));
    std::snprintf(field.text, sizeof field.text, "%s", option("text", ""));
    field.length = (int)std::strlen(field.text);
    insert_mode = number("insert", 0);
    // Brackets around the field show where it ends.
    win_puts(main_window, field.row, field.column - 1, "[", 0);
    win_puts(main_window, field.row, field.column + field.width, "]", 0);
    field_show(&field, -1);
    win_show(main_window);
    status(23, "ready");
    for (;;) {
        int key = field_edit(&field);
        status(22, fmt("text=[%s]", field.text));
        status(23, fmt("key=%d len=%d changed=%d ins=%d scroll=%d", key, field.length,
                       field.changed, insert_mode, field.scroll));
        if (key == KEY_F10)
            return 0;
    }
}

int run_pick() {
    PickList pick;
    pick_list_init(&pick);
    pick.window = main_window;
    pick.first_row = 2;
    pick.column = 2;
    pick.rows = number("rows", 20);
    pick.width = number("width", 76);
    pick.park_row = 23;
    pick.park_column = 69;
    List *list = numbered_list("Entry", number("count", 30), option("long", nullptr) != nullptr);
    pick.count = list_count(list);
    pick.current = number("current", 0);
    const char *delete_on = option("delete-on", nullptr);
    win_box(main_window, 0, pick.first_row - 1, pick.column - 1, pick.rows + 2, pick.width + 2);
    pick_list_show(&pick, list);
    win_show(main_window);
    status(23, "ready");
    for (;;) {
        int key = pick_list_run(&pick, list);
        status(23,
               fmt("key=%d current=%d top=%d count=%d", key, pick.current, pick.top, pick.count));
        if (key == KEY_F10)
            break;
        if (delete_on != nullptr && key == delete_on[0] && list_count(list) > 0)
            list_delete(list, list_count(list) - 1);
    }
    list_destroy(list);
    return 0;
}

int run_radio() {
    RadioGroup group;
    radio_init(&group);
    group.window = main_window;
    group.count = number("count", 3);
    for (int i = 0; i < RADIO_MAX; i++) {
        group.row[i] = 3 + i;
        group.column[i] = 2;
        win_puts(main_window, 3 + i, 6, fmt("Choice %d", i).c_str(), 0);
    }
    group.selected = number("selected", 0);
    radio_show(-1, &group);
    win_show(main_window);
    status(23, "ready");
    int focus = number("focus", 0);
    for (;;) {
        int key = radio_run(focus, &group);
        status(23, fmt("key=%d selected=%d changed=%d focus=%d", key, group.selected, group.changed,
                       focus));
        if (key == KEY_F10)
            return 0;
        if (key == KEY_TAB)
            focus = (focus + 1) % group.count;
        else if (key == KEY_BACKTAB)
            focus = (focus + group.count - 1) % group.count;
    }
}

int run_pager() {
    Pager pager;
    pager_init(&pager);
    pager.window = main_window;
    pager.first_row = 1;
    pager.column = 0;
    pager.width = 80;
    pager.rows = 21;
    pager.park_row = 23;
    pager.park_column = 63;
    win_puts(main_window, 0, 30, "Document", ATTR_REV);
    win_hline(main_window, 0, 0, 22, 0, -1);
    List *list = numbered_list("Line", number("count", 30), option("long", nullptr) != nullptr);
    pager.count = list_count(list);
    pager_show(&pager, list);
    win_show(main_window);
    status(23, "ready");
    for (;;) {
        int key = pager_run(&pager, list);
        status(23, fmt("key=%d top=%d count=%d", key, pager.top, pager.count));
        if (key == KEY_F10)
            break;
    }
    list_destroy(list);
    return 0;
}

// With "full", takes every free window id, so that a box cannot get one.
void fill_window_table() {
    if (option("full", nullptr) == nullptr)
        return;
    while (win_create(-1, "Filler", 0, 0, 1, 1) >= 0) {
    }
}

// A background under the boxes, so that a test can see it come back intact.
void draw_background() {
    for (int row = 0; row < 23; row++) {
        std::string line;
        for (int column = 0; column < 80; column++)
            line += (char)('A' + (row + column) % 26);
        win_puts(main_window, row, 0, line.c_str(), row % 3 == 0 ? ATTR_REV : 0);
    }
    win_show(main_window);
    fill_window_table();
}

std::string box_text(const char *name) {
    int length = number("length", -1);
    if (length >= 0)
        return repeat_text(length, option("newline", nullptr) != nullptr);
    std::string text = option(name, "Something to say");
    if (option("newline", nullptr) != nullptr)
        text += '\n';
    return text;
}

void wait_for_end() {
    while (key_read() != KEY_F10) {
    }
}

int run_message() {
    draw_background();
    std::string text = box_text("text");
    int result = message_box(number("beep", 1), option("title", "Note"), text.c_str());
    status(23, fmt("message done result=%d", result));
    wait_for_end();
    return 0;
}

int run_yesno() {
    draw_background();
    std::string question = box_text("question");
    for (;;) {
        int answer = yes_no_box(number("beep", 1), option("title", "CONFIRM"), question.c_str());
        status(23, fmt("answer=%d", answer));
        // Any key but F10 asks again.
        if (key_read() == KEY_F10)
            return 0;
    }
}

int run_legend() {
    escape_key_setting = number("escape", 1);
    const char *pieces[] = {"F6", " Save  ", cancel_key_name(), " Cancel", nullptr};
    win_show(main_window);
    int end = legend_puts(main_window, 20, 1, pieces);
    win_refresh(main_window, 0, 0, -1, -1);
    status(23, fmt("column=%d", end));
    wait_for_end();
    return 0;
}

} // namespace

int main(int argc, char **argv) {
    argc_g = argc;
    argv_g = argv;
    if (argc < 2) {
        std::fprintf(stderr,
                     "usage: widget_driver field|pick|radio|pager|message|yesno|legend ...\n");
        return 2;
    }
    TermState state;
    if (term_init(1, &state) != 0) {
        std::fprintf(stderr, "widget_driver: no terminal description\n");
        return 2;
    }
    term_screen_strings();
    term_raw_mode(&state, 127, 1);
    key_init();
    term_blank_screen();

    main_window = win_create(-1, "Driver", 0, 0, 24, 80);
    std::string scenario = argv[1];
    int rc = 2;
    if (scenario == "field")
        rc = run_field();
    else if (scenario == "pick")
        rc = run_pick();
    else if (scenario == "radio")
        rc = run_radio();
    else if (scenario == "pager")
        rc = run_pager();
    else if (scenario == "message")
        rc = run_message();
    else if (scenario == "yesno")
        rc = run_yesno();
    else if (scenario == "legend")
        rc = run_legend();
    win_destroy(main_window);

    term_blank_screen();
    term_cursor_on();
    term_restore(&state);
    return rc;
}
