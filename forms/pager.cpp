// Read-only document pager: scrolls a list of lines by line, half page and
// page; every other key goes back to the screen.
#include "forms/forms_internal.h"
#include "term/term.h"
#include "win/win.h"

namespace {

void draw_line(Pager *pager, List *list, int i) {
    scroll_view_draw_row(pager, list, i, 0);
    win_refresh(pager->window, 0, 0, WIN_ALL, WIN_ALL);
}

bool last_line_visible(const Pager *pager) {
    return pager->top + pager->rows - 1 >= pager->count - 1;
}

void scroll(Pager *pager, List *list, int d) {
    if (d == 0 || pager->count <= 0) {
        term_beep();
        return;
    }
    if ((pager->top == 0 && d < 0) || (last_line_visible(pager) && d > 0)) {
        term_beep();
        return;
    }
    if (pager->top + d < 0)
        d = -pager->top;
    pager->top += d;
    pager_show(pager, list);
}

} // namespace

void pager_init(Pager *pager) {
    scroll_view_init(pager);
    pager->mark_row = 22;
    pager->mark_column = 72;
}

void pager_show(Pager *pager, List *list) {
    pager->count = list_count(list);
    if (pager->top < 0)
        pager->top = 0;
    for (int i = pager->top; i < pager->count && i <= pager->top + pager->rows - 1; i++)
        draw_line(pager, list, i);
    scroll_view_clear_tail(pager);

    int w = pager->window;
    int row = pager->mark_row;
    int column = pager->mark_column;
    if (pager->count <= pager->rows) {
        win_put_lines(w, WIN_REPLACE, row, column, "00000000");
    } else if (pager->top > 0 && pager->top >= pager->count - pager->rows) {
        win_puts(w, row, column, "^ More ", ATTR_REV);
        win_put_lines(w, WIN_REPLACE, row, column + 7, "0");
    } else if (pager->top == 0) {
        win_put_lines(w, WIN_REPLACE, row, column, "0");
        win_puts(w, row, column + 1, " More v", ATTR_REV);
    } else {
        win_puts(w, row, column, "^ More v", ATTR_REV);
    }
    win_refresh(w, 0, 0, WIN_ALL, WIN_ALL);
}

int pager_run(Pager *pager, List *list) {
    term_cursor_off();
    pager->count = list_count(list);
    if (pager->count == 0) {
        pager->top = 0;
    } else if (pager->top + pager->rows > pager->count - 1 && pager->count > pager->rows) {
        // Coming back after a page move past the end: the last line goes
        // back to the last row.
        pager->top = pager->count - pager->rows;
    }
    pager_show(pager, list);

    for (;;) {
        int key = scroll_view_read_key(pager);
        switch (key) {
        case KEY_UP:
        case KEY_CTRL_H:
        case KEY_BACKSPACE:
            scroll(pager, list, -1);
            break;
        case KEY_DOWN:
        case ' ':
            scroll(pager, list, 1);
            break;
        case KEY_PGUP:
            scroll(pager, list, -(pager->rows - 1));
            break;
        case KEY_PGDN:
            scroll(pager, list, pager->rows - 1);
            break;
        case KEY_CTRL_I:
        case KEY_TAB:
            scroll(pager, list, pager->rows / 2);
            break;
        case KEY_BACKTAB:
            scroll(pager, list, -(pager->rows / 2));
            break;
        case KEY_HOME:
            if (pager->top == 0) {
                term_beep();
            } else {
                pager->top = 0;
                pager_show(pager, list);
            }
            break;
        case KEY_END:
            if (last_line_visible(pager))
                term_beep();
            else
                scroll(pager, list, pager->count - pager->rows - pager->top);
            break;
        default:
            return key;
        }
    }
}
