// Scrolling pick list: one entry per row, one highlighted; movement keys are
// handled here, command keys go back to the screen.
#include "forms/forms_internal.h"
#include "term/term.h"
#include "win/win.h"

namespace {

void draw_row(PickList *pick, List *list, int i, int highlighted) {
    scroll_view_draw_row(pick, list, i, highlighted ? ATTR_REV : 0);
}

void draw_mark(PickList *pick, int row, int more) {
    if (more)
        win_puts(pick->window, row, pick->column + pick->width, "M", ATTR_REV);
    else
        win_put_lines(pick->window, WIN_REPLACE, row, pick->column + pick->width, "-");
}

} // namespace

void pick_list_init(PickList *pick) {
    scroll_view_init(pick);
    pick->current = 0;
}

void pick_list_show(PickList *pick, List *list) {
    if (pick->current > pick->top + pick->rows - 1)
        pick->top = pick->current - pick->rows + 1;
    else if (pick->current < pick->top)
        pick->top = pick->current;
    if (pick->top < 0)
        pick->top = 0;
    pick->count = list_count(list);

    int i = pick->top;
    for (; i < pick->count && i <= pick->top + pick->rows - 1; i++)
        draw_row(pick, list, i, i == pick->current);
    scroll_view_clear_tail(pick);
    if (pick->count == 0 && pick->rows > 0)
        draw_row(pick, list, pick->top,
                 1); // an empty list still shows where the highlight would be
    draw_mark(pick, pick->first_row - 1, pick->top > 0);
    draw_mark(pick, pick->first_row + pick->rows, pick->top + pick->rows < pick->count);
    win_refresh(pick->window, 0, 0, WIN_ALL, WIN_ALL);
}

void pick_list_move(int rows, PickList *pick, List *list) {
    int d = rows;
    if (d == 0 || pick->count <= 0) {
        term_beep();
        return;
    }
    if ((pick->current == 0 && d < 0) || (pick->current == pick->count - 1 && d > 0)) {
        term_beep();
        return;
    }
    if (pick->current + d < 0)
        d = -pick->current;
    else if (pick->current + d > pick->count - 1)
        d = pick->count - 1 - pick->current;

    int target = pick->current + d;
    if (target >= pick->top && target <= pick->top + pick->rows - 1) {
        // Within the page only the two rows whose highlight changes are written.
        draw_row(pick, list, pick->current, 0);
        pick->current = target;
        draw_row(pick, list, pick->current, 1);
        win_refresh(pick->window, 0, 0, WIN_ALL, WIN_ALL);
        return;
    }
    // Scrolling by the same amount keeps the highlight on its screen row.
    pick->current = target;
    pick->top += d;
    if (pick->top < 0)
        pick->top = 0;
    pick_list_show(pick, list);
}

namespace {

bool returns_key(int key) {
    switch (key) {
    case KEY_CTRL_A:
    case KEY_CTRL_D:
    case KEY_CTRL_G:
    case KEY_CTRL_J:
    case KEY_CTRL_K:
    case KEY_CTRL_L:
    case KEY_CTRL_M:
    case KEY_CTRL_R:
    case KEY_CTRL_T:
    case KEY_ESCAPE:
    case KEY_LEFT:
    case KEY_RIGHT:
    case KEY_DELETE:
        return true;
    default:
        if (key >= KEY_F1 && key <= KEY_F10)
            return true;
        return key >= 33 && key <= 126 && key != '?';
    }
}

} // namespace

int pick_list_run(PickList *pick, List *list) {
    term_cursor_off();
    pick->count = list_count(list);
    if (pick->count == 0) {
        pick->current = 0;
        pick->top = 0;
    } else if (pick->current > pick->count - 1) {
        pick->current = pick->count - 1;
    }
    if (pick->current < 0)
        pick->current = 0;
    pick_list_show(pick, list);

    for (;;) {
        int key = scroll_view_read_key(pick);
        switch (key) {
        case KEY_UP:
            pick_list_move(-1, pick, list);
            break;
        case KEY_DOWN:
        case ' ':
            pick_list_move(1, pick, list);
            break;
        case KEY_PGUP:
            pick_list_move(-pick->rows, pick, list);
            break;
        case KEY_PGDN:
            pick_list_move(pick->rows, pick, list);
            break;
        case KEY_CTRL_I:
        case KEY_TAB:
            pick_list_move(pick->rows / 2, pick, list);
            break;
        case KEY_BACKTAB:
            pick_list_move(-(pick->rows / 2), pick, list);
            break;
        case KEY_HOME:
            // First press: top of the page; second press: top of the list.
            if (pick->current == 0) {
                term_beep();
                break;
            }
            pick->current = pick->current != pick->top ? pick->top : 0;
            pick_list_show(pick, list);
            break;
        case KEY_END:
            if (pick->current >= pick->count - 1) {
                term_beep();
                break;
            }
            if (pick->current != pick->top + pick->rows - 1) {
                pick->current = pick->top + pick->rows - 1;
                if (pick->current > pick->count - 1)
                    pick->current = pick->count - 1;
                pick_list_show(pick, list);
            } else {
                pick_list_move(pick->count - 1 - pick->current, pick, list);
            }
            break;
        default:
            if (returns_key(key))
                return key;
            term_beep();
            break;
        }
    }
}
