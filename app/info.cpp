// The general information screen: product, maker, contacts and version.
#include "app/app.h"

#include <cstring>

#include "win/win.h"

namespace {

constexpr int INFO_WIDTH = 35;

// The maker's lines; each is shown centred in the 35 columns inside the frame.
const char *const info_notice = "Copyright (c) 1994-2026 Ardovane";
const char *const info_contacts[5] = {
    "Ardovane Systems Ltd.",           "14 Harbour Lane, Suite 200", "Portsmouth, NH 03801 USA",
    "Tel (603) 555-0142 Fax 555-0143", "www.ardovane.com",
};
const int info_contact_rows[5] = {4, 5, 6, 8, 9};

// Pads text with spaces to exactly 35 characters, words centred (an odd
// space goes to the right, as in the title line).
void info_centre(const char *text, char *out) {
    int length = static_cast<int>(strlen(text));
    if (length > INFO_WIDTH)
        length = INFO_WIDTH;
    int left = (INFO_WIDTH - length) / 2;
    memset(out, ' ', INFO_WIDTH);
    memcpy(out + left, text, static_cast<size_t>(length));
    out[INFO_WIDTH] = '\0';
}

} // namespace

void info_screen() {
    char line[INFO_WIDTH + 1];
    int window = win_create(-1, "", 3, 20, 15, 39);
    win_box(window, WIN_REPLACE, 0, 0, WIN_ALL, WIN_ALL);
    win_puts(window, 1, 2, "       Ardovane PC Conduvia        ", ATTR_REV);
    info_centre(info_notice, line);
    win_puts(window, 2, 2, line, ATTR_REV);
    win_hline(window, WIN_MERGE, WIN_ENDS, 3, 0, WIN_ALL);
    for (int i = 0; i < 5; i++) {
        info_centre(info_contacts[i], line);
        win_puts(window, info_contact_rows[i], 2, line, 0);
    }
    win_hline(window, WIN_MERGE, WIN_ENDS, 10, 0, WIN_ALL);
    win_puts(window, 11, 2, "Version : ", 0);
    win_puts(window, 11, 12, AV_VERSION, 0);
    win_hline(window, WIN_MERGE, WIN_ENDS, 12, 0, WIN_ALL);
    win_puts(window, 13, 2, "    Press any key to continue:     ", 0);

    win_show(window);
    term_cursor_on();
    win_cursor(window, 13, 33);
    // Any key closes, a key sequence the table does not bind as well.
    key_read_any();
    term_cursor_off();
    win_destroy(window);
}
