// On-line documentation: the product's documentation file in a full-screen
// pager, with an offer to print it on the default printer.
#include <cstdio>

#include "editors/editors.h"
#include "forms/forms.h"
#include "support/paths.h"
#include "support/support.h"
#include "term/term.h"
#include "win/win.h"

namespace {

const char DOC_TITLE[] =
    "                  Ardovane PC Conduvia - On-Line Documentation                  ";
const char PRINT_COMMAND[] = "lp -s " AV_PATH_DOC;

constexpr int DOC_ROWS = 24;
constexpr int DOC_COLUMNS = 80;
constexpr int LINE_ROW = 22;
constexpr int LEGEND_ROW = 23;
constexpr int LEGEND_COLUMN = 18;

// Runs the print command with nothing of the terminal: its output and
// error would be written over the full-screen display, where the window
// refresh never erases them, and the terminal in raw mode is no input for
// it. Its status is not looked at: the user is told the same in every case.
void run_print_command() {
    ignore_failure(run_system_command(PRINT_COMMAND, -1, -1, -1));
}

void print_document() {
    if (yes_no_box(BOX_QUIET, "CONFIRM", "Print this information on the default printer?") != 1)
        return;
    run_print_command();
    message_box(BOX_QUIET, "", "Help file printed.");
}

int draw_frame() {
    int window = win_create(-1, "", 0, 0, DOC_ROWS, DOC_COLUMNS);
    if (window < 0)
        return -1;
    win_puts(window, 0, 0, DOC_TITLE, ATTR_REV);
    win_hline(window, WIN_REPLACE, WIN_ENDS, LINE_ROW, 0, DOC_COLUMNS);
    win_puts(window, LEGEND_ROW, LEGEND_COLUMN, "Use ", 0);
    static const char *const legend[] = {"ARROWS", " to move, ", "H",    " to hardcopy, ",
                                         "X",      " to exit.",  nullptr};
    legend_puts(window, LEGEND_ROW, LEGEND_COLUMN + 4, legend);
    return window;
}

} // namespace

void doc_viewer() {
    term_cursor_off();
    int window = draw_frame();
    if (window < 0) {
        // Nothing to draw on: say so rather than return to the menu silently.
        message_box(BOX_BEEP, "Error", "Could not open the documentation window!");
        return;
    }

    List *lines = list_create(25);
    if (lines == nullptr) {
        message_box(BOX_BEEP, "Error", "Could not create help list!");
        win_destroy(window);
        return;
    }
    char msg[AV_MSG_MAX];
    if (read_line_file(AV_PATH_DOC, lines, "", msg) < 0) {
        message_box(BOX_BEEP, "Error", msg);
        win_destroy(window);
        list_destroy(lines);
        return;
    }

    Pager pager;
    pager_init(&pager);
    pager.window = window;
    pager.top = 0;
    pager.count = list_count(lines);
    pager.first_row = 1;
    pager.rows = 21;
    pager.column = 0;
    pager.width = DOC_COLUMNS;
    pager.park_row = LEGEND_ROW;
    pager.park_column = 63; // just after the legend
    pager_show(&pager, lines);
    win_show(window);

    for (;;) {
        int key = pager_run(&pager, lines);
        if (key == 'H' || key == 'h') {
            print_document();
        } else if (key == 'X' || key == 'x' || key_is_cancel(key) || key_is_save(key)) {
            break;
        } else if (key_is_repaint(key)) {
            term_repaint();
        } else {
            term_beep();
        }
    }

    win_destroy(window);
    list_destroy(lines);
}
