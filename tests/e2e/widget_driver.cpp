// Test program for the form widgets: sets the terminal up as avconfig does,
// runs one widget ("field", "pick", "radio", "pager", "message", "yesno") in a
// full-screen window and shows on row 23 what it returned. F10 ends the run.
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
int main_window;

// Options are name=value.
const char *option(const char *name, const char *fallback) {
    size_t n = std::strlen(name);
    for (int i = 2; i < argc_g; i++)
        if (std::strncmp(argv_g[i], name, n) == 0 && argv_g[i][n] == '=')
            return argv_g[i] + n + 1;
    return fallback;
}

int number(const char *name, int fallback) {
    return std::atoi(option(name, std::to_string(fallback).c_str()));
}

// Stops at column 60, clear of the parked cursors.
__attribute__((format(printf, 1, 2))) void status(const char *format, ...) {
    char text[512];
    va_list ap;
    va_start(ap, format);
    std::vsnprintf(text, 61, format, ap);
    va_end(ap);
    win_clear(main_window, 23, 0, 1, 60);
    win_puts(main_window, 23, 0, text, 0);
    win_refresh(main_window, 0, 0, -1, -1);
}

// Runs the widget again after each key it returns, until F10.
template <typename Run, typename Report> void loop(Run run, Report report) {
    win_show(main_window);
    status("ready");
    for (int key = 0; key != KEY_F10;)
        report(key = run());
}

// The pick list and the pager show numbered entries and park the cursor on
// row 23.
template <typename Widget>
List *place(Widget &w, const char *word, int first_row, int width, int park_column) {
    w.window = main_window;
    w.first_row = first_row;
    w.rows = 22 - first_row; // down to row 21
    w.width = width;
    w.park_row = 23;
    w.park_column = park_column;
    List *list = list_create(25);
    for (int i = 0; i < number("count", 30); i++) {
        char text[32];
        std::snprintf(text, sizeof text, "%s %02d", word, i);
        list_append(list, str_dup(text), str_free);
    }
    w.count = list_count(list);
    return list;
}

void run_field() {
    TextField field;
    field_init(&field);
    field.window = main_window;
    field.row = 5;
    field.column = 10;
    field.width = 15;
    field.maximum = number("max", 15);
    field.digits_only = number("digits", 0);
    std::snprintf(field.refused, sizeof field.refused, "%s", option("refused", ""));
    std::snprintf(field.text, sizeof field.text, "%s", option("text", ""));
    field.length = (int)std::strlen(field.text);
    insert_mode = number("insert", 0);
    field_show(&field, -1);
    loop([&] { return field_edit(&field); },
         [&](int key) {
             status("key=%d changed=%d ins=%d scroll=%d [%s]", key, field.changed, insert_mode,
                    field.scroll, field.text);
         });
}

void run_pick() {
    PickList pick;
    pick_list_init(&pick);
    List *list = place(pick, "Entry", 2, 76, 69);
    pick.column = 2;
    pick.current = number("current", 0);
    win_box(main_window, 0, 1, 1, 22, 78);
    pick_list_show(&pick, list);
    loop([&] { return pick_list_run(&pick, list); },
         [&](int key) {
             status("key=%d current=%d top=%d count=%d", key, pick.current, pick.top, pick.count);
             // Shrinks the list behind the widget's back, as a deleting editor does.
             if (key == option("delete-on", "")[0] && list_count(list) > 0)
                 list_delete(list, list_count(list) - 1);
         });
    list_destroy(list);
}

void run_radio() {
    RadioGroup group;
    radio_init(&group);
    group.window = main_window;
    group.count = 3;
    for (int i = 0; i < group.count; i++) {
        group.row[i] = 3 + i;
        group.column[i] = 2;
    }
    group.selected = number("selected", 0);
    radio_show(-1, &group);
    int focus = number("focus", 0);
    loop([&] { return radio_run(focus, &group); },
         [&](int key) {
             if (key == KEY_TAB || key == KEY_BACKTAB)
                 focus = (focus + group.count + (key == KEY_TAB ? 1 : -1)) % group.count;
             status("key=%d selected=%d changed=%d focus=%d", key, group.selected, group.changed,
                    focus);
         });
}

void run_pager() {
    Pager pager;
    pager_init(&pager);
    List *list = place(pager, "Line", 1, 80, 63);
    win_hline(main_window, 0, 0, 22, 0, -1);
    pager_show(&pager, list);
    loop([&] { return pager_run(&pager, list); },
         [&](int key) { status("key=%d top=%d count=%d", key, pager.top, pager.count); });
    list_destroy(list);
}

// Over a known background, so that a test can see it come back intact; the
// box is shown again after each key but F10.
void run_box(bool yesno) {
    for (int row = 0; row < 23; row++) {
        std::string line;
        for (int column = 0; column < 80; column++)
            line += (char)('A' + (row + column) % 26);
        win_puts(main_window, row, 0, line.c_str(), row % 3 == 0 ? ATTR_REV : 0);
    }
    win_show(main_window);
    std::string text = option(yesno ? "question" : "text", "");
    for (int i = 0; i < number("length", 0); i++)
        text += (char)('a' + i % 26);
    if (number("newline", 0))
        text += '\n';
    do {
        if (yesno)
            status("answer=%d", yes_no_box(1, option("title", "CONFIRM"), text.c_str()));
        else
            status("result=%d", message_box(1, option("title", "Note"), text.c_str()));
    } while (key_read() != KEY_F10);
}

} // namespace

int main(int argc, char **argv) {
    argc_g = argc;
    argv_g = argv;
    TermState state;
    if (argc < 2 || term_init(1, &state) != 0) {
        std::fprintf(stderr, "usage: widget_driver field|pick|radio|pager|message|yesno ...\n");
        return 2;
    }
    term_screen_strings();
    term_raw_mode(&state, 127, 1);
    key_init();
    term_blank_screen();
    main_window = win_create(-1, "Driver", 0, 0, 24, 80);
    std::string scenario = argv[1];
    if (scenario == "field")
        run_field();
    else if (scenario == "pick")
        run_pick();
    else if (scenario == "radio")
        run_radio();
    else if (scenario == "pager")
        run_pager();
    else
        run_box(scenario == "yesno");
    win_destroy(main_window);
    term_blank_screen();
    term_cursor_on();
    term_restore(&state);
    return 0;
}
