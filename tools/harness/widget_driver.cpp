// Runs one form widget full-screen as avconfig sets the terminal up, showing on
// row 23 what it returned; F10 ends the run.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "forms/forms.h"
#include "support/support.h"
#include "term/term.h"
#include "win/win.h"

namespace {

char **argv_g;
int main_window;

const char *option(const char *name, const char *fallback) {
    size_t n = std::strlen(name);
    for (char **arg = argv_g + 2; *arg != nullptr; arg++)
        if (std::strncmp(*arg, name, n) == 0 && (*arg)[n] == '=')
            return *arg + n + 1;
    return fallback;
}

int number(const char *name, int fallback) {
    return std::atoi(option(name, std::to_string(fallback).c_str()));
}

// Stops at column 60, clear of the parked cursors.
template <typename... Args> void status(const char *format, Args... args) {
    char text[61];
    std::snprintf(text, sizeof text, format, args...);
    win_clear(main_window, 23, 0, 1, 60);
    win_puts(main_window, 23, 0, text, 0);
    win_refresh(main_window, 0, 0, -1, -1);
}

template <typename Run, typename Report> void loop(Run run, Report report) {
    win_show(main_window);
    status("%s", "ready");
    for (int key = 0; key != KEY_F10;)
        report(key = run());
}

// Numbered entries down to row 21 for the pick list and the pager.
template <typename Widget>
List *place(Widget &w, const char *word, int first_row, int width, int park_column) {
    w.window = main_window;
    w.first_row = first_row;
    w.rows = 22 - first_row;
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
    radio_show(-1, &group);
    int focus = 0;
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

// Over a known background that must come back intact; again after each key but F10.
void run_box() {
    bool yesno = std::strcmp(argv_g[1], "yesno") == 0;
    std::string rows = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    rows += rows + rows + rows + rows; // wide enough for any row's rotation
    for (int row = 0; row < 23; row++)
        win_puts(main_window, row, 0, rows.substr(row % 26, 80).c_str(), row % 3 ? 0 : ATTR_REV);
    win_show(main_window);
    std::string text = option(yesno ? "question" : "text", "");
    for (int i = 0; i < number("length", 0); i++)
        text += (char)('a' + i % 26);
    text += number("newline", 0) ? "\n" : "";
    do {
        const char *title = option("title", yesno ? "CONFIRM" : "Note");
        status(yesno ? "answer=%d" : "result=%d",
               yesno ? yes_no_box(1, title, text.c_str()) : message_box(1, title, text.c_str()));
    } while (key_read() != KEY_F10);
}

} // namespace

int main(int argc, char **argv) {
    argv_g = argv;
    TermState state;
    if (argc < 2 || term_init(1, &state) != 0)
        return 2; // usage: widget_driver field|pick|radio|pager|message|yesno name=value...
    term_screen_strings();
    term_raw_mode(&state, 127, 1);
    key_init();
    term_blank_screen();
    main_window = win_create(-1, "Driver", 0, 0, 24, 80);
    const std::map<std::string, void (*)()> runs = {
        {"field", run_field}, {"pick", run_pick}, {"radio", run_radio}, {"pager", run_pager}};
    auto run = runs.find(argv[1]);
    (run != runs.end() ? run->second : run_box)();
    term_blank_screen();
    term_cursor_on();
    term_restore(&state);
    return 0;
}
