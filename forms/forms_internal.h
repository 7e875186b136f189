// Pieces shared by the form widgets' own sources; not for callers.
#pragma once

#include "forms/forms.h"

// Defaults: no window, everything else 0.
void scroll_view_init(ScrollView *view);
// Entry i cut and padded to exactly width columns, on its row of the view.
void scroll_view_draw_row(const ScrollView *view, List *list, int i, int attribute);
// Parks the visible cursor at the view's park position and reads a key.
int scroll_view_read_key(const ScrollView *view);
// Blanks the rows below the last of count entries shown from top.
void scroll_view_clear_tail(const ScrollView *view);
