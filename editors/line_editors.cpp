// The authorized commands and environment variables screens: one editor for
// files of plain lines, told apart by a LineEditor record.
#include <cstring>

#include "editors/editors.h"
#include "editors/table_screen.h"
#include "support/paths.h"
#include "term/term.h"
#include "win/win.h"

namespace {

constexpr int ENTRY_MAX = 76;

struct LineEditor {
    const char *path;
    const char *fetch_error;
    const char *remove_error;
    const char *append_error;
    int add_limit; // 0: no limit
    const char *limit_note;
    int needs_equal; // an entry must contain "="
    int dialog_rows;
    const char *dialog_label;
    const char *dialog_note; // nullptr: none
    int legend_row;
    int field_column;
    int field_width;
};

const LineEditor COMMANDS_EDITOR = {
    AV_PATH_COMMANDS,
    "Error retrieving data from commands list!",
    "Could not remove old entry from commands list",
    "Could not add new entry to commands list",
    0,
    nullptr,
    0,
    5,
    "Command: ",
    nullptr,
    3,
    11,
    67,
};

const LineEditor ENV_EDITOR = {
    AV_PATH_ENV,
    "Error retrieving data from env list!",
    "Could not remove old entry from env list",
    "Could not add new entry to env list",
    100,
    "The maximum number of variables has been reached (100).",
    1,
    6,
    "Variable: ",
    "NOTE: Enter variable and value in the form:  NAME=value",
    4,
    12,
    66,
};

const LineEditor *editor_of(TableScreen *screen) {
    return static_cast<const LineEditor *>(screen->detail);
}

// The entry dialog. text holds the initial text and receives the saved one
// (at least FIELD_TEXT_MAX + 1 bytes). 1 when saved with a change.
int line_entry_dialog(int parent, const LineEditor *editor, int mode, int index, char *text,
                      List *list) {
    int window = win_create(parent, "", 8, 0, editor->dialog_rows, 80);
    if (window < 0) {
        term_beep();
        return 0;
    }
    win_box(window, 0, 0, 0, editor->dialog_rows, 80);
    win_puts(window, 0, 34, mode == IP_DIALOG_ADD ? "Add Entry" : "Edit Entry", 0);
    win_puts(window, 1, 2, editor->dialog_label, 0);
    win_hline(window, 1, 1, 2, 0, -1);
    if (editor->dialog_note != nullptr)
        win_puts(window, 3, 12, editor->dialog_note, 0);
    table_dialog_legend(window, editor->legend_row, 26);

    TextField field;
    table_field(&field, window, 1, editor->field_column, editor->field_width, ENTRY_MAX);
    // A line read from the file may be longer than anything typed; the
    // field holds what fits its buffer and the line stays whole unless the
    // user saves a change.
    field.length = str_copy_max(field.text, text, FIELD_TEXT_MAX);
    field_show(&field, -1);
    win_show(window);

    int changed = 0;
    int result = -1;
    while (result < 0) {
        int key = field_edit(&field);
        if (field.changed)
            changed = 1;
        if (key_is_enter(key))
            key = KEY_TAB;
        else if (key_is_save(key))
            key = KEY_F6;
        switch (key) {
        case KEY_CTRL_I:
        case KEY_TAB:
        case KEY_BACKTAB:
        case KEY_UP:
        case KEY_DOWN:
            break;
        case KEY_F6: {
            if (editor->needs_equal && strchr(field.text, '=') == nullptr) {
                message_box(1, "Error", "Expression must contain an equal sign (=)");
                break;
            }
            char trimmed[FIELD_TEXT_MAX + 1];
            str_copy_max(trimmed, field.text, FIELD_TEXT_MAX);
            trim_blanks(trimmed);
            if (trimmed[0] == '\0') {
                message_box(1, "Note", "Cannot save empty field.");
                break;
            }
            int found = list_find_string(trimmed, 1, list);
            if (found >= 0 && (mode == IP_DIALOG_ADD || found != index)) {
                message_box(1, "Error", "An entry for this item already exists.");
                break;
            }
            strcpy(text, trimmed);
            result = changed;
            break;
        }
        default:
            result = table_dialog_key(key, changed);
            break;
        }
    }
    win_destroy(window);
    return result;
}

int line_add(TableScreen *screen) {
    const LineEditor *editor = editor_of(screen);
    if (editor->add_limit > 0 && list_count(screen->list) >= editor->add_limit) {
        message_box(1, "Note", editor->limit_note);
        return TABLE_STAY;
    }
    char text[FIELD_TEXT_MAX + 1] = "";
    if (line_entry_dialog(screen->window, editor, IP_DIALOG_ADD, -1, text, screen->list) != 1)
        return TABLE_STAY;
    char msg[AV_MSG_MAX];
    if (list_add_string(text, screen->list, msg) != 0) {
        message_box(1, "Error", msg);
        return TABLE_FAIL;
    }
    return table_resort(screen, text);
}

int line_edit(TableScreen *screen) {
    const LineEditor *editor = editor_of(screen);
    if (list_count(screen->list) <= 0) {
        message_box(1, "Note", "There is nothing to edit.");
        return TABLE_STAY;
    }
    int current = screen->pick.current;
    const char *line = static_cast<const char *>(list_get(screen->list, current));
    if (line == nullptr) {
        message_box(1, "Error", editor->fetch_error);
        return TABLE_FAIL;
    }
    // The field holds at most ENTRY_MAX characters; opening a longer line in
    // it would cut the rest off silently on save.
    if (strlen(line) > static_cast<size_t>(ENTRY_MAX)) {
        message_box(1, "Note", "This entry is too long to edit here; delete it and add it again.");
        return TABLE_STAY;
    }
    char text[FIELD_TEXT_MAX + 1];
    str_copy_max(text, line, FIELD_TEXT_MAX);
    if (line_entry_dialog(screen->window, editor, IP_DIALOG_EDIT, current, text, screen->list) != 1)
        return TABLE_STAY;
    char msg[AV_MSG_MAX];
    if (list_delete(screen->list, current) != 0)
        message_box(1, "Error", editor->remove_error);
    else if (list_add_string(text, screen->list, msg) != 0)
        message_box(1, "Error", editor->append_error);
    return table_resort(screen, text);
}

int line_save(TableScreen *screen) {
    if (screen->changed == 0)
        return TABLE_LEAVE;
    char msg[AV_MSG_MAX];
    if (write_line_file(editor_of(screen)->path, screen->list, msg) != 0) {
        // Nothing is lost: the screen stays open with every change.
        message_box(1, "Error", msg);
        return TABLE_STAY;
    }
    return TABLE_LEAVE;
}

void load_commands(List *list) {
    char msg[AV_MSG_MAX];
    // A missing file is an empty list; a failed append keeps what was read.
    read_line_file(AV_PATH_COMMANDS, list, "", msg);
}

void load_env(List *list) {
    char msg[AV_MSG_MAX];
    read_line_file(AV_PATH_ENV, list, "", msg);
}

const TableLayout COMMANDS_LAYOUT = {
    "                            Authorized UNIX Commands                            ",
    0,
    80,
    nullptr,
    0,
    "Could not create commands list!",
    load_commands,
    2,
    76,
    "Command: ",
    11,
    17,
    line_add,
    line_edit,
    line_save,
};

const TableLayout ENV_LAYOUT = {
    "                           UNIX Environment Variables                           ",
    0,
    80,
    nullptr,
    0,
    "Could not create env list!",
    load_env,
    2,
    76,
    "Env var: ",
    11,
    17,
    line_add,
    line_edit,
    line_save,
};

void line_screen(const TableLayout *layout, const LineEditor *editor) {
    TableScreen screen;
    if (table_open(&screen, layout, editor) != 0)
        return;
    table_run(&screen);
}

} // namespace

void commands_screen() {
    line_screen(&COMMANDS_LAYOUT, &COMMANDS_EDITOR);
}

void env_screen() {
    line_screen(&ENV_LAYOUT, &ENV_EDITOR);
}
