// The entry dialog of the name-to-IP table: a name, a choice of how the PC
// is reached, and the value for that choice.
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "editors/editors.h"
#include "editors/table_screen.h"
#include "support/paths.h"
#include "term/term.h"
#include "win/win.h"

namespace {

// Characters that would break the fixed-column file or the shell commands
// built from the name and address.
const char REFUSED[] = " `#$^&*\"|\\/";

// Focus stops, in order.
constexpr int FOCUS_NAME = 0;
constexpr int FOCUS_ADDRESS = 2;
constexpr int FOCUS_HAWSER_RADIO = 3;
constexpr int FOCUS_HAWSER = 4;
constexpr int FOCUS_SAMBA = 6;
constexpr int FOCUS_COUNT = 7;

void ip_field(TextField *field, int window, int row, int column, int width, int maximum,
              const char *text) {
    table_field(field, window, row, column, width, maximum);
    field->length = str_copy_max(field->text, text, maximum);
}

void trimmed_copy(const TextField *field, char *out) {
    str_copy_max(out, field->text, FIELD_TEXT_MAX);
    trim_blanks(out);
}

} // namespace

int ip_focus_next(int focus, int kind) {
    focus++;
    if (focus > 6)
        focus = 0;
    if (focus == 2 && kind != 0)
        focus++;
    if (focus == 4 && kind != 1)
        focus++;
    if (focus == 6 && kind != 2)
        focus++;
    return focus >= FOCUS_COUNT ? 0 : focus;
}

int ip_focus_previous(int focus, int kind) {
    focus--;
    if (focus < 0)
        focus = 6;
    if (focus == 6 && kind != 2)
        focus--;
    if (focus == 4 && kind != 1)
        focus--;
    if (focus == 2 && kind != 0)
        focus--;
    return focus < 0 ? 6 : focus;
}

int ip_entry_dialog(int parent, int mode, int index, IpEntry *entry, List *lines) {
    int window = win_create(parent, "", 8, 8, 9, 64);
    if (window < 0) {
        term_beep();
        return 0;
    }
    win_box(window, 0, 0, 0, 9, 64);
    win_puts(window, 0, 27, mode == IP_DIALOG_ADD ? "Add Entry" : "Edit Entry", 0);
    win_puts(window, 1, 2, "Name specified for PC (after 'avclink' cmd): ", 0);
    win_puts(window, 3, 2, "    Static PC IP address............: ", 0);
    win_puts(window, 4, 2, "    Use Ardovane PC Hawser - PC name:", 0);
    win_puts(window, 5, 2, "    Use Samba 'nmblookup'  - PC name:", 0);
    win_hline(window, 1, 1, 6, 0, -1);
    table_dialog_legend(window, 7, 20);

    TextField fields[FOCUS_COUNT];
    ip_field(&fields[FOCUS_NAME], window, 1, 47, 15, 15, entry->name);
    strcpy(fields[FOCUS_NAME].refused, REFUSED);
    ip_field(&fields[FOCUS_ADDRESS], window, 3, 40, 15, 15, entry->address);
    strcpy(fields[FOCUS_ADDRESS].refused, REFUSED);
    fields[FOCUS_ADDRESS].digits_only = 1;
    ip_field(&fields[FOCUS_HAWSER], window, 4, 40, 16, 25, entry->kind == 1 ? entry->pc_name : "");
    ip_field(&fields[FOCUS_SAMBA], window, 5, 40, 16, 25, entry->kind == 2 ? entry->pc_name : "");

    RadioGroup group;
    radio_init(&group);
    group.window = window;
    group.count = 3;
    for (int i = 0; i < 3; i++) {
        group.row[i] = 3 + i;
        group.column[i] = 2;
    }
    group.selected = (entry->kind >= 0 && entry->kind <= 2) ? entry->kind : 0;

    field_show(&fields[FOCUS_NAME], -1);
    radio_show(-1, &group);
    field_show(&fields[FOCUS_ADDRESS], -1);
    field_show(&fields[FOCUS_HAWSER], -1);
    field_show(&fields[FOCUS_SAMBA], -1);
    win_show(window);

    int focus = 0;
    int changed = 0;
    int result = -1;
    while (result < 0) {
        int key;
        if (focus % 2 == 1) {
            key = radio_run(focus / 2, &group);
            if (group.changed)
                changed = 1;
        } else {
            key = field_edit(&fields[focus]);
            if (fields[focus].changed)
                changed = 1;
        }
        if (key_is_enter(key))
            key = KEY_TAB;
        else if (key_is_save(key))
            key = KEY_F6;
        switch (key) {
        case KEY_CTRL_I:
        case KEY_TAB:
        case KEY_DOWN:
            focus = ip_focus_next(focus, group.selected);
            break;
        case KEY_BACKTAB:
        case KEY_UP:
            focus = ip_focus_previous(focus, group.selected);
            break;
        case KEY_F6: {
            char name[FIELD_TEXT_MAX + 1];
            char value[FIELD_TEXT_MAX + 1];
            int kind = group.selected;
            trimmed_copy(&fields[FOCUS_NAME], name);
            if (name[0] == '\0') {
                message_box(1, "Note", "No name was specified.");
                focus = FOCUS_NAME;
                break;
            }
            if (kind == 0) {
                trimmed_copy(&fields[FOCUS_ADDRESS], value);
                if (value[0] == '\0') {
                    message_box(1, "Note", "A fixed IP address was not specified.");
                    focus = FOCUS_ADDRESS;
                    break;
                }
            } else if (kind == 1) {
                if (access(AV_PATH_HAWSER_PROG, F_OK) != 0) {
                    message_box(1, "Error",
                                "The Ardovane PC Hawser software is not installed on this system.");
                    focus = FOCUS_HAWSER_RADIO;
                    break;
                }
                trimmed_copy(&fields[FOCUS_HAWSER], value);
                if (value[0] == '\0') {
                    message_box(1, "Note", "A PC name was not specified for Hawser.");
                    focus = FOCUS_HAWSER;
                    break;
                }
            } else {
                trimmed_copy(&fields[FOCUS_SAMBA], value);
                if (value[0] == '\0') {
                    message_box(1, "Note", "A PC name was not specified for Samba.");
                    focus = FOCUS_SAMBA;
                    break;
                }
            }
            // Lines start with the name padded to 15 columns, so a prefix
            // match on the padded name is an exact match on the name.
            char key_text[FIELD_TEXT_MAX + 1];
            snprintf(key_text, sizeof key_text, "%-15s", name);
            int found = list_find_string(key_text, 0, lines);
            if (found >= 0 && (mode == IP_DIALOG_ADD || found != index)) {
                message_box(1, "Error", "An entry for this name already exists.");
                focus = FOCUS_NAME;
                break;
            }
            str_copy_max(entry->name, name, 15);
            entry->address[0] = '\0';
            entry->pc_name[0] = '\0';
            if (kind == 0)
                str_copy_max(entry->address, value, 15);
            else
                str_copy_max(entry->pc_name, value, 25);
            entry->kind = kind;
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
