/* The peer of the start-up bench: the program's main menu (title box, menu
   box, item texts, the first item highlighted) drawn through ncurses on the
   same terminal, after the same raw-mode set-up; then it waits for a key. */
#include <curses.h>

static const char *const items[] = {
    "N - Name To IP Address Table  ", "C - Available UNIX Commands   ",
    "E - UNIX Environment Variables", "? - On-Line Documentation     ",
    "G - General Information       ", NULL,
    "X - Exit Configuration Program",
};

int main(void) {
    initscr();
    raw();
    noecho();
    nonl();
    keypad(stdscr, TRUE);
    curs_set(0);

    WINDOW *title = newwin(4, 25, 1, 27);
    box(title, 0, 0);
    mvwaddstr(title, 1, 2, "Ardovane PC Conduvia ");
    wattron(title, A_REVERSE);
    mvwaddstr(title, 2, 2, "Configuration Program");
    wattroff(title, A_REVERSE);

    WINDOW *menu = newwin(10, 34, 9, 23);
    box(menu, 0, 0);
    for (int i = 0; i < (int)(sizeof items / sizeof items[0]); i++) {
        if (items[i] == NULL) {
            mvwhline(menu, i + 1, 2, ACS_HLINE, 30);
            continue;
        }
        if (i == 0)
            wattron(menu, A_REVERSE);
        mvwaddstr(menu, i + 1, 2, items[i]);
        wattroff(menu, A_REVERSE);
    }
    wnoutrefresh(stdscr);
    wnoutrefresh(title);
    wnoutrefresh(menu);
    doupdate();

    wgetch(menu);
    endwin();
    return 0;
}
