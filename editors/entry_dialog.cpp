#include "editors/entry_dialog.h"

#include "term/term.h"
#include "win/win.h"

namespace {

void entry_legend(int window, int row, int column) {
    const char *pieces[] = {"F6", " or ", "^G", "-Save, ", cancel_key_name(), "-Cancel", nullptr};
    legend_puts(window, row, column, pieces);
}

// The keys every entry dialog treats alike: the cancel keys leave (0) unless
// there are changes the user wants to keep; repaint and unknown keys stay (-1).
int entry_common_key(int key, int changed) {
    if (key_is_cancel(key))
        return changed == 0 || yes_no_box(BOX_BEEP, "CONFIRM", "Lose changes to this entry?") == 1
                   ? 0
                   : -1;
    if (key_is_repaint(key))
        term_repaint();
    else
        term_beep();
    return -1;
}

// Runs the control that has the focus; returns the key that ended it.
int entry_run_focus(EntryDialog *dialog) {
    if (dialog->radio_stops && dialog->focus % 2 == 1) {
        int key = radio_run(dialog->focus / 2, &dialog->group);
        if (dialog->group.changed)
            dialog->changed = 1;
        return key;
    }
    TextField *field = &dialog->fields[dialog->focus];
    int key = field_edit(field);
    if (field->changed)
        dialog->changed = 1;
    return key;
}

} // namespace

int entry_dialog_open(EntryDialog *dialog, int parent, int row, int column, int rows, int columns,
                      int title_column, int legend_row, int legend_column) {
    dialog->window = win_create(parent, "", row, column, rows, columns);
    if (dialog->window < 0) {
        term_beep();
        return -1;
    }
    win_box(dialog->window, WIN_REPLACE, 0, 0, rows, columns);
    win_puts(dialog->window, 0, title_column,
             dialog->mode == ENTRY_ADD ? "Add Entry" : "Edit Entry", 0);
    entry_legend(dialog->window, legend_row, legend_column);
    dialog->focus = 0;
    dialog->changed = 0;
    return 0;
}

int entry_dialog_run(EntryDialog *dialog) {
    int result = -1;
    while (result < 0) {
        int key = entry_run_focus(dialog);
        int kind = dialog->group.selected;
        if (key_is_enter(key) || key == KEY_CTRL_I || key == KEY_TAB || key == KEY_DOWN) {
            if (dialog->next)
                dialog->focus = dialog->next(dialog->focus, kind);
        } else if (key == KEY_BACKTAB || key == KEY_UP) {
            if (dialog->previous)
                dialog->focus = dialog->previous(dialog->focus, kind);
        } else if (key_is_save(key)) {
            if (dialog->accept(dialog))
                result = dialog->changed;
        } else {
            result = entry_common_key(key, dialog->changed);
        }
    }
    win_destroy(dialog->window);
    dialog->window = -1;
    return result;
}

void entry_field(TextField *field, int window, int row, int column, int width, int maximum) {
    field_init(field);
    field->window = window;
    field->row = row;
    field->column = column;
    field->width = width;
    field->maximum = maximum;
}

int entry_is_duplicate(const EntryDialog *dialog, const char *text, int exact,
                       const char *message) {
    int found = list_find_string(text, exact, dialog->list);
    if (found < 0 || (dialog->mode == ENTRY_EDIT && found == dialog->index))
        return 0;
    message_box(BOX_BEEP, "Error", message);
    return 1;
}

void entry_trimmed(const TextField *field, char *out) {
    str_copy_max(out, field->text, FIELD_TEXT_MAX);
    trim_blanks(out);
}
