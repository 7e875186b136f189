// The scrolling view under the pick list and the pager.
#include <cstdio>
#include <cstring>

#include "forms/forms_internal.h"
#include "term/term.h"
#include "win/win.h"

namespace {

// Rows never exceed the 80-column screen; the buffer leaves room to spare.
constexpr int ROW_MAX = 255;

} // namespace

void scroll_view_init(ScrollView *view) {
    *view = ScrollView{};
    view->window = -1;
}

void scroll_view_draw_row(const ScrollView *view, List *list, int i, int attribute) {
    int width = view->width;
    if (width > ROW_MAX)
        width = ROW_MAX;
    if (width < 0)
        width = 0;
    const char *entry = static_cast<const char *>(list_get(list, i));
    if (entry == nullptr)
        entry = "";
    char cut[ROW_MAX + 1];
    size_t n = strnlen(entry, static_cast<size_t>(width));
    std::memcpy(cut, entry, n);
    cut[n] = '\0';
    char format[16];
    std::snprintf(format, sizeof format, "%%-%ds", width);
    char row[ROW_MAX + 1];
    std::snprintf(row, sizeof row, format, cut);
    win_puts(view->window, view->first_row + i - view->top, view->column, row, attribute);
}

int scroll_view_read_key(const ScrollView *view) {
    win_cursor(view->window, view->park_row, view->park_column);
    term_cursor_on();
    int key = key_read();
    term_cursor_off();
    return key;
}

void scroll_view_clear_tail(const ScrollView *view) {
    for (int r = view->count - view->top < 0 ? 0 : view->count - view->top; r < view->rows; r++)
        win_clear(view->window, view->first_row + r, view->column, 1, view->width);
}
