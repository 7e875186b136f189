// Process-wide widget settings and the key legend writer shared by the screens.
#include <cstring>

#include "forms/forms.h"
#include "win/win.h"

int insert_mode = 0;
int escape_key_setting = 1;

const char *cancel_key_name() {
    return escape_key_setting ? "ESC" : "F5";
}

int legend_puts(int window, int row, int column, const char *const *pieces) {
    if (pieces == nullptr)
        return column;
    for (int i = 0; pieces[i] != nullptr; i++) {
        // Even pieces are key names (reverse video), odd pieces their words.
        win_puts(window, row, column, pieces[i], (i % 2 == 0) ? ATTR_REV : 0);
        // Advance by the piece's own length, so that a clipped write does
        // not shift the pieces that follow.
        column += static_cast<int>(std::strlen(pieces[i]));
    }
    return column;
}
