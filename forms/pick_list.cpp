// Scrolling pick list: one entry per row, one highlighted; movement keys are
// handled here, command keys go back to the screen.
#include <cstdio>
#include <cstring>

#include "forms/forms.h"
#include "term/term.h"
#include "win/win.h"

namespace {

// Rows never exceed the 80-column screen; the buffer leaves room to spare.
constexpr int ROW_MAX = 255;

void draw_row(PickList *pick, List *list, int i, int highlighted) {
    int width = pick->width;
    if (width > ROW_MAX)
        width = ROW_MAX;
    if (width < 0)
        width = 0;
    const char *entry = static_cast<const char *>(list_get(list, i));
    if (entry == nullptr)
        entry = "";
    char cut[ROW_MAX + 1];
    size_t n = strnlen(entry, (size_t)width);
    std::memcpy(cut, entry, n);
    cut[n] = '\0';
    char format[16];
    std::snprintf(format, sizeof format, "%%-%ds", width);
    char row[ROW_MAX + 1];
    std::snprintf(row, sizeof row, format, cut);
    win_puts(pick->window, pick->first_row + i - pick->top, pick->column, row,
             highlighted ? ATTR_REV : 0);
}

void draw_mark(PickList *pick, int row, int more) {
    if (more)
        win_puts(pick->window, row, pick->column + pick->width, "M", ATTR_REV);
    else
        win_put_lines(pick->window, 0, row, pick->column + pick->width, "-");
}

} // namespace

void pick_list_init(PickList *pick) {
    pick->window = -1;
    pick->current = 0;
    pick->top = 0;
    pick->count = 0;
    pick->first_row = 0;
    pick->column = 0;
    pick->width = 0;
    pick->rows = 0;
    pick->park_row = 0;
    pick->park_column = 0;
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
    if (pick->count - pick->top < pick->rows) {
        int r = pick->count - pick->top;
        if (r < 0)
            r = 0;
        for (; r < pick->rows; r++)
            win_clear(pick->window, pick->first_row + r, pick->column, 1, pick->width);
    }
    if (pick->count == 0 && pick->rows > 0 && pick->width > 0) {
        // An empty list still shows where the highlight would be.
        char bar[ROW_MAX + 1];
        int width = pick->width > ROW_MAX ? ROW_MAX : pick->width;
        std::memset(bar, ' ', (size_t)width);
        bar[width] = '\0';
        win_puts(pick->window, pick->first_row, pick->column, bar, ATTR_REV);
    }
    draw_mark(pick, pick->first_row - 1, pick->top > 0);
    draw_mark(pick, pick->first_row + pick->rows, pick->top + pick->rows < pick->count);
    win_refresh(pick->window, 0, 0, -1, -1);
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
        win_refresh(pick->window, 0, 0, -1, -1);
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
    case 1:
    case 4:
    case 7:
    case 10:
    case 11:
    case 12:
    case 13:
    case 18:
    case 20:
    case 27:
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
        win_cursor(pick->window, pick->park_row, pick->park_column);
        term_cursor_on();
        int key = key_read();
        term_cursor_off();

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
        case 9:
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
