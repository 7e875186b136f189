// Refresh and visibility: bringing a window's area to the terminal, showing
// and hiding windows, and blanking or repainting the whole screen.
#include "win/win_internal.h"

namespace {

int shown = 1;

} // namespace

int win_refresh(int id, int row, int column, int rows, int columns) {
    Window *w = win_lookup(id);
    if (!w)
        return -1;
    Window *screen = win_lookup(0);
    if (w->flags & WIN_HIDDEN) {
        if (w == screen)
            return -1;
        // Whatever was asked, show what lies under the whole hidden window.
        return win_refresh(0, w->screen_row, w->screen_column, w->rows, w->columns);
    }
    if (rows < 0)
        rows = w->rows - row;
    if (columns < 0)
        columns = w->columns - column;
    WinRect r;
    if (win_clip(WinRect{row + w->screen_row, column + w->screen_column, rows, columns},
                 win_rect_of(w), &r) < 0)
        return -1;
    // A sound tree is at most WIN_MAX_IDS deep; the bound keeps a damaged
    // table from looping for ever.
    int steps = 0;
    for (Window *up = w; up && steps < WIN_MAX_IDS;
         up = up->parent >= 0 ? win_lookup(up->parent) : nullptr, steps++)
        if (win_clip(r, win_rect_of(up), &r) < 0)
            return -1;
    if (win_clip(r, WIN_SCREEN_RECT, &r) < 0)
        return -1;
    win_compose(screen, screen, r);
    return win_send(screen, r);
}

namespace {

// Sets or clears the hidden flag and brings the screen up to date.
Window *set_hidden(int id, bool hidden) {
    Window *w = win_lookup(id);
    if (!w)
        return nullptr;
    if (hidden)
        w->flags |= WIN_HIDDEN;
    else
        w->flags &= static_cast<unsigned char>(~WIN_HIDDEN);
    win_refresh(id, 0, 0, WIN_ALL, WIN_ALL);
    return w;
}

} // namespace

int win_show(int id) {
    return set_hidden(id, false) ? 0 : -1;
}

int win_hide(int id) {
    if (id <= 0)
        return 0;
    return set_hidden(id, true) ? 0 : -1;
}

void term_blank_screen() {
    // The image now matches the cleared terminal: nothing is marked to send.
    win_clear_cells(win_lookup(0), 0, 0, -1, -1, 0);
    term_clear();
}

int term_screen_state(int mode) {
    if (mode == 0 && shown) {
        shown = 0;
        term_blank_screen();
    } else if (mode == 1 && !shown) {
        shown = 1;
        win_refresh(0, 0, 0, WIN_ALL, WIN_ALL);
    }
    return shown;
}

int term_repaint() {
    term_screen_state(0);
    return term_screen_state(1);
}
