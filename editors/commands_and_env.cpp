// The authorized commands and environment variables screens: one editor for
// files of plain lines, told apart by their LineEditor records.
#include <cstddef>
#include <cstring>
#include <type_traits>

#include "editors/editors.h"
#include "editors/entry_dialog.h"
#include "editors/table_screen.h"
#include "support/paths.h"
#include "term/term.h"
#include "win/win.h"

namespace {

constexpr int ENTRY_MAX = 76;

// A screen of plain lines: the list screen's layout, and what the line
// editors' own steps and entry dialog read.
struct LineEditor {
    TableLayout table; // first: the list screen hands back a pointer to it
    const char *fetch_error;
    const char *remove_error;
    const char *append_error;
    int add_limit; // 0: no limit
    const char *limit_note;
    int (*accept)(EntryDialog *dialog); // the entry dialog's save checks
    int dialog_rows;
    const char *dialog_label;
    const char *dialog_note; // nullptr: none
    int legend_row;
    int field_column;
    int field_width;
};

static_assert(std::is_standard_layout_v<LineEditor> && offsetof(LineEditor, table) == 0,
              "a LineEditor must be reachable from its TableLayout");

const LineEditor *line_editor(const TableScreen *screen) {
    return reinterpret_cast<const LineEditor *>(screen->layout);
}

int line_accept(EntryDialog *dialog) {
    const TextField *field = &dialog->fields[0];
    char trimmed[FIELD_TEXT_MAX + 1];
    entry_trimmed(field, trimmed);
    if (trimmed[0] == '\0') {
        message_box(BOX_BEEP, "Note", "Cannot save empty field.");
        return 0;
    }
    return !entry_is_duplicate(dialog, trimmed, ENTRY_EXACT,
                               "An entry for this item already exists.");
}

// The environment's entries are assignments: checked before anything else.
int env_accept(EntryDialog *dialog) {
    if (strchr(dialog->fields[0].text, '=') == nullptr) {
        message_box(BOX_BEEP, "Error", "Expression must contain an equal sign (=)");
        return 0;
    }
    return line_accept(dialog);
}

// The entry dialog. text holds the initial text and receives the saved one
// (at least FIELD_TEXT_MAX + 1 bytes). 1 when saved with a change.
int line_entry_dialog(TableScreen *screen, int mode, int index, char *text) {
    const LineEditor *editor = line_editor(screen);
    EntryDialog dialog{
        .mode = mode, .index = index, .list = screen->list, .accept = editor->accept};
    if (entry_dialog_open(&dialog, screen->window, 8, 0, editor->dialog_rows, 80, 34,
                          editor->legend_row, 26) != 0)
        return 0;
    win_puts(dialog.window, 1, 2, editor->dialog_label, 0);
    win_hline(dialog.window, WIN_MERGE, WIN_ENDS, 2, 0, WIN_ALL);
    if (editor->dialog_note != nullptr)
        win_puts(dialog.window, 3, 12, editor->dialog_note, 0);

    TextField *field = &dialog.fields[0];
    entry_field(field, dialog.window, 1, editor->field_column, editor->field_width, ENTRY_MAX);
    field->length = str_copy_max(field->text, text, FIELD_TEXT_MAX);
    field_show(field, FIELD_NO_CURSOR);
    win_show(dialog.window);

    int result = entry_dialog_run(&dialog);
    if (result == 1)
        entry_trimmed(field, text);
    return result;
}

int line_add(TableScreen *screen) {
    const LineEditor *editor = line_editor(screen);
    if (editor->add_limit > 0 && list_count(screen->list) >= editor->add_limit) {
        message_box(BOX_BEEP, "Note", editor->limit_note);
        return TABLE_STAY;
    }
    char text[FIELD_TEXT_MAX + 1] = "";
    if (line_entry_dialog(screen, ENTRY_ADD, -1, text) != 1)
        return TABLE_STAY;
    return table_add_line(screen, text);
}

int line_edit(TableScreen *screen) {
    const LineEditor *editor = line_editor(screen);
    if (list_count(screen->list) <= 0) {
        message_box(BOX_BEEP, "Note", "There is nothing to edit.");
        return TABLE_STAY;
    }
    int current = screen->pick.current;
    const char *line = static_cast<const char *>(list_get(screen->list, current));
    if (line == nullptr) {
        message_box(BOX_BEEP, "Error", editor->fetch_error);
        return TABLE_FAIL;
    }
    // The field holds at most ENTRY_MAX characters; opening a longer line in
    // it would cut the rest off silently on save.
    if (strlen(line) > static_cast<size_t>(ENTRY_MAX)) {
        message_box(BOX_BEEP, "Note",
                    "This entry is longer than 76 characters; change it in the file itself.");
        return TABLE_STAY;
    }
    char text[FIELD_TEXT_MAX + 1];
    str_copy_max(text, line, FIELD_TEXT_MAX);
    if (line_entry_dialog(screen, ENTRY_EDIT, current, text) != 1)
        return TABLE_STAY;
    char msg[AV_MSG_MAX];
    if (list_delete(screen->list, current) != 0)
        message_box(BOX_BEEP, "Error", editor->remove_error);
    else if (list_add_string(text, screen->list, msg) != 0)
        message_box(BOX_BEEP, "Error", editor->append_error);
    return table_resort(screen, text);
}

int line_save(TableScreen *screen) {
    if (screen->changed == 0)
        return TABLE_LEAVE;
    if (!table_may_overwrite(screen))
        return TABLE_STAY;
    char msg[AV_MSG_MAX];
    if (write_line_file(screen->layout->path, screen->list, msg) != 0) {
        // Nothing is lost: the screen stays open with every change.
        message_box(BOX_BEEP, "Error", msg);
        return TABLE_STAY;
    }
    return TABLE_LEAVE;
}

int line_read(FILE *file, const char *path, List *list, char *msg) {
    return read_line_stream(file, path, list, "", msg);
}

// What the two line screens share; each layout below adds its own.
constexpr TableLayout line_layout(TableLayout layout) {
    layout.box_columns = 80;
    layout.list_column = 2;
    layout.list_width = 76;
    layout.search_column = 11;
    layout.search_width = 17;
    layout.read = line_read;
    layout.add = line_add;
    layout.edit = line_edit;
    layout.save = line_save;
    return layout;
}

const LineEditor COMMANDS_EDITOR = {
    .table = line_layout({
        .title = "                            Authorized UNIX Commands                            ",
        .list_error = "Could not create commands list!",
        .path = AV_PATH_COMMANDS,
        .search_label = "Command: ",
    }),
    .fetch_error = "Error retrieving data from commands list!",
    .remove_error = "Could not remove old entry from commands list",
    .append_error = "Could not add new entry to commands list",
    .add_limit = 0,
    .limit_note = nullptr,
    .accept = line_accept,
    .dialog_rows = 5,
    .dialog_label = "Command: ",
    .dialog_note = nullptr,
    .legend_row = 3,
    .field_column = 11,
    .field_width = 67,
};

const LineEditor ENV_EDITOR = {
    .table = line_layout({
        .title = "                           UNIX Environment Variables                           ",
        .list_error = "Could not create env list!",
        .path = AV_PATH_ENV,
        .search_label = "Env var: ",
    }),
    .fetch_error = "Error retrieving data from env list!",
    .remove_error = "Could not remove old entry from env list",
    .append_error = "Could not add new entry to env list",
    .add_limit = 100,
    .limit_note = "The maximum number of variables has been reached (100).",
    .accept = env_accept,
    .dialog_rows = 6,
    .dialog_label = "Variable: ",
    .dialog_note = "NOTE: Enter variable and value in the form:  NAME=value",
    .legend_row = 4,
    .field_column = 12,
    .field_width = 66,
};

void line_screen(const LineEditor *editor) {
    TableScreen screen;
    if (table_open(&screen, &editor->table) != 0)
        return;
    table_run(&screen);
}

} // namespace

void commands_screen() {
    line_screen(&COMMANDS_EDITOR);
}

void env_screen() {
    line_screen(&ENV_EDITOR);
}
