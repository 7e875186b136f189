// Composing the visible windows into the screen image: each window's cells
// where no later sibling, child or shown window covers them.
#include "win/win_internal.h"

#include <bit>
#include <cstdint>

WinRect win_rect_of(const Window *w) {
    return WinRect{w->screen_row, w->screen_column, w->rows, w->columns};
}

int win_clip(const WinRect &a, const WinRect &b, WinRect *out) {
    if (a.rows < 1 || a.columns < 1 || b.rows < 1 || b.columns < 1)
        return -1;
    int top = a.row > b.row ? a.row : b.row;
    int left = a.column > b.column ? a.column : b.column;
    int bottom = a.row + a.rows < b.row + b.rows ? a.row + a.rows : b.row + b.rows;
    int right =
        a.column + a.columns < b.column + b.columns ? a.column + a.columns : b.column + b.columns;
    if (bottom <= top || right <= left)
        return -1;
    *out = WinRect{top, left, bottom - top, right - left};
    return 0;
}

namespace {

void copy_cells(Window *screen, Window *w, const WinRect &area) {
    WinRect r;
    if (win_clip(area, win_rect_of(w), &r) < 0 || win_clip(r, WIN_SCREEN_RECT, &r) < 0)
        return;
    // A cell is compared and copied as one word: this loop runs for every
    // cell of every refresh.
    const uint32_t blank = std::bit_cast<uint32_t>(Cell{' ', 0, WIN_BLANK_COLOUR, 0});
    const uint32_t mark = std::bit_cast<uint32_t>(Cell{0, ATTR_CHANGED, 0, 0});
    for (int y = r.row; y < r.row + r.rows; y++) {
        Cell *image = screen->cells + y * WIN_SCREEN_COLUMNS;
        const Cell *source =
            w == screen ? nullptr : w->cells + (y - w->screen_row) * w->columns - w->screen_column;
        // The mark takes part in the comparison: a cell still waiting to be
        // sent is rewritten and stays marked; an equal sent cell costs nothing.
        for (int x = r.column; x < r.column + r.columns; x++) {
            uint32_t from = source ? std::bit_cast<uint32_t>(source[x]) : blank;
            if (std::bit_cast<uint32_t>(image[x]) != from)
                image[x] = std::bit_cast<Cell>(from | mark);
        }
    }
}

} // namespace

int win_compose(Window *screen, Window *w, const WinRect &area) {
    WinRect r;
    if (win_clip(area, win_rect_of(w), &r) < 0)
        return -1;
    for (ChainNode *node = w->children ? w->children->first : nullptr; node; node = node->next) {
        Window *child = win_lookup(static_cast<int>(reinterpret_cast<intptr_t>(node->value)));
        if (!child || (child->flags & WIN_HIDDEN))
            continue;
        WinRect o;
        if (win_clip(win_rect_of(child), r, &o) < 0)
            continue;
        // The first shown child that meets the area covers O, its overlap.
        // The rest of the area splits into the band above O, the pieces left
        // and right of O on its rows and the band below, each composed again
        // from this window (where a later child may cover it in turn); O
        // itself is composed from the child. Any piece that took cells is a
        // success; empty pieces fail harmlessly.
        int ok = -1;
        int r_bottom = r.row + r.rows;
        int r_right = r.column + r.columns;
        int o_bottom = o.row + o.rows;
        int o_right = o.column + o.columns;
        if (win_compose(screen, w, WinRect{r.row, r.column, o.row - r.row, r.columns}) == 0)
            ok = 0;
        if (win_compose(screen, w, WinRect{o.row, r.column, o.rows, o.column - r.column}) == 0)
            ok = 0;
        if (win_compose(screen, child, o) == 0)
            ok = 0;
        if (win_compose(screen, w, WinRect{o.row, o_right, o.rows, r_right - o_right}) == 0)
            ok = 0;
        if (win_compose(screen, w, WinRect{o_bottom, r.column, r_bottom - o_bottom, r.columns}) ==
            0)
            ok = 0;
        return ok;
    }
    copy_cells(screen, w, r);
    return 0;
}
