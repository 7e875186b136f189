// The main menu: the program title, the list of choices and the key loop
// that runs the chosen screens.
#include "app/app.h"

#include <cstring>

#include "editors/editors.h"
#include "support/support.h"
#include "win/win.h"

namespace {

constexpr int MENU_ITEM_MAX = 7;
constexpr int MENU_SLOT = 40;
constexpr int MENU_TEXT_COLUMN = 2;

const char *const menu_texts[MENU_ITEM_MAX] = {
    "N - Name To IP Address Table  ", "C - Available UNIX Commands   ",
    "E - UNIX Environment Variables", "? - On-Line Documentation     ",
    "G - General Information       ", "-",
    "X - Exit Configuration Program",
};

char menu_items[MENU_ITEM_MAX][MENU_SLOT];
int menu_count = 0;
int menu_current = 0;
int title_window = -1;
int menu_window = -1;

void menu_add(const char *text) {
    if (menu_count >= MENU_ITEM_MAX)
        return;
    str_copy_max(menu_items[menu_count], text, MENU_SLOT - 1);
    menu_count++;
}

bool menu_separator(int index) {
    return menu_items[index][0] == '-';
}

void menu_draw_item(int index, int attribute) {
    if (menu_separator(index))
        win_put_lines(menu_window, WIN_REPLACE, index + 1, MENU_TEXT_COLUMN,
                      "------------------------------");
    else
        win_puts(menu_window, index + 1, MENU_TEXT_COLUMN, menu_items[index], attribute);
}

void menu_move(int step) {
    menu_draw_item(menu_current, 0);
    int next = menu_current + step;
    if (next >= menu_count)
        next = 0;
    else if (next < 0)
        next = menu_count - 1;
    if (menu_separator(next))
        next += step < 0 ? -1 : 1;
    menu_draw_item(next, ATTR_REV);
    menu_current = next;
    win_refresh(menu_window, 0, 0, WIN_ALL, WIN_ALL);
}

void menu_move_to(int index) {
    menu_move(index - menu_current);
}

void menu_build() {
    menu_current = 0;
    term_cursor_off();
    title_window = win_create(-1, "", 0, 0, 24, 80);
    win_box(title_window, WIN_REPLACE, 1, 27, 4, 25);
    win_puts(title_window, 2, 29, "Ardovane PC Conduvia ", 0);
    win_puts(title_window, 3, 29, "Configuration Program", ATTR_REV);
    menu_window = win_create(title_window, "", 9, 23, 10, 34);
    win_box(menu_window, WIN_REPLACE, 0, 0, WIN_ALL, WIN_ALL);
    menu_count = 0;
    for (const char *text : menu_texts)
        menu_add(text);
    for (int i = 0; i < menu_count; i++)
        menu_draw_item(i, i == menu_current ? ATTR_REV : 0);
    win_refresh(menu_window, 0, 0, WIN_ALL, WIN_ALL);
    win_show(title_window);
    win_show(menu_window);
}

} // namespace

int main_menu() {
    menu_build();
    for (;;) {
        term_cursor_off();
        win_cursor(menu_window, menu_count, 32);
        int key = key_read();
        if (key_is_enter(key))
            key = static_cast<unsigned char>(menu_items[menu_current][0]);
        switch (key) {
        case 'N':
        case 'n':
            menu_move_to(0);
            ip_table_screen();
            break;
        case 'C':
        case 'c':
            menu_move_to(1);
            commands_screen();
            break;
        case 'E':
        case 'e':
            menu_move_to(2);
            env_screen();
            break;
        case '?':
        case '/':
            menu_move_to(3);
            doc_viewer();
            break;
        case 'G':
        case 'g':
            menu_move_to(4);
            win_hide(title_window);
            win_hide(menu_window);
            info_screen();
            win_show(title_window);
            win_show(menu_window);
            break;
        case 'X':
        case 'x':
            menu_move_to(menu_count - 1);
            return 0;
        case KEY_DOWN:
        case ' ':
            menu_move(1);
            break;
        case KEY_UP:
            menu_move(-1);
            break;
        case KEY_HOME:
            menu_move(-menu_current);
            break;
        case KEY_END:
            menu_move(menu_count - menu_current - 1);
            break;
        default:
            if (key_is_repaint(key))
                term_repaint();
            else
                term_beep();
            break;
        }
    }
}
