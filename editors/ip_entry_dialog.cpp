// The entry dialog of the name-to-IP table: a name, a choice of how the PC
// is reached, and the value for that choice.
#include <cstdio>
#include <cstring>
#include <unistd.h>

#include "editors/editors.h"
#include "editors/entry_dialog.h"
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
// The field that holds each kind's value, by kind; only the selected kind's
// field takes the focus.
constexpr int VALUE_STOPS[IP_KINDS] = {FOCUS_ADDRESS, FOCUS_HAWSER, FOCUS_SAMBA};

bool skipped(int focus, int kind) {
    for (int k = 0; k < IP_KINDS; k++)
        if (focus == VALUE_STOPS[k] && kind != k)
            return true;
    return false;
}

void ip_field(TextField *field, int window, int row, int column, int width, int maximum,
              const char *text) {
    entry_field(field, window, row, column, width, maximum);
    field->length = str_copy_max(field->text, text, maximum);
}

// The value that the selected kind needs, trimmed into value; 0 (after saying
// why and moving the focus) when it is missing or cannot be used.
int ip_value(EntryDialog *dialog, char *value) {
    static const char *const missing[IP_KINDS] = {"A fixed IP address was not specified.",
                                                  "A PC name was not specified for Hawser.",
                                                  "A PC name was not specified for Samba."};
    int kind = dialog->group.selected;
    if (kind == IP_HAWSER && access(AV_PATH_HAWSER_PROG, F_OK) != 0) {
        message_box(BOX_BEEP, "Error",
                    "The Ardovane PC Hawser software is not installed on this system.");
        dialog->focus = FOCUS_HAWSER_RADIO;
        return 0;
    }
    entry_trimmed(&dialog->fields[VALUE_STOPS[kind]], value);
    if (value[0] != '\0')
        return 1;
    message_box(BOX_BEEP, "Note", missing[kind]);
    dialog->focus = VALUE_STOPS[kind];
    return 0;
}

int ip_accept(EntryDialog *dialog) {
    char name[FIELD_TEXT_MAX + 1];
    char value[FIELD_TEXT_MAX + 1];
    entry_trimmed(&dialog->fields[FOCUS_NAME], name);
    if (name[0] == '\0') {
        message_box(BOX_BEEP, "Note", "No name was specified.");
        dialog->focus = FOCUS_NAME;
        return 0;
    }
    if (!ip_value(dialog, value))
        return 0;
    // Lines start with the name padded to 15 columns, so a prefix match on
    // the padded name is an exact match on the name.
    char key_text[FIELD_TEXT_MAX + 1];
    snprintf(key_text, sizeof key_text, "%-15s", name);
    if (entry_is_duplicate(dialog, key_text, ENTRY_PREFIX,
                           "An entry for this name already exists.")) {
        dialog->focus = FOCUS_NAME;
        return 0;
    }
    return 1;
}

// The accepted values, into entry.
void ip_store(EntryDialog *dialog, IpEntry *entry) {
    int kind = dialog->group.selected;
    char text[FIELD_TEXT_MAX + 1];
    entry_trimmed(&dialog->fields[FOCUS_NAME], text);
    str_copy_max(entry->name, text, 15);
    entry_trimmed(&dialog->fields[VALUE_STOPS[kind]], text);
    entry->address[0] = '\0';
    entry->pc_name[0] = '\0';
    if (kind == IP_FIXED)
        str_copy_max(entry->address, text, 15);
    else
        str_copy_max(entry->pc_name, text, 25);
    entry->kind = kind;
}

} // namespace

int ip_focus_next(int focus, int kind) {
    focus = focus + 1 > FOCUS_SAMBA ? FOCUS_NAME : focus + 1;
    while (skipped(focus, kind))
        focus++;
    return focus >= FOCUS_COUNT ? FOCUS_NAME : focus;
}

int ip_focus_previous(int focus, int kind) {
    focus = focus - 1 < FOCUS_NAME ? FOCUS_SAMBA : focus - 1;
    while (skipped(focus, kind))
        focus--;
    return focus < FOCUS_NAME ? FOCUS_SAMBA : focus;
}

int ip_entry_dialog(int parent, int mode, int index, IpEntry *entry, List *lines) {
    EntryDialog dialog{.mode = mode,
                       .index = index,
                       .list = lines,
                       .radio_stops = 1,
                       .next = ip_focus_next,
                       .previous = ip_focus_previous,
                       .accept = ip_accept};
    if (entry_dialog_open(&dialog, parent, 8, 8, 9, 64, 27, 7, 20) != 0)
        return 0;
    int window = dialog.window;
    win_puts(window, 1, 2, "Name specified for PC (after 'avclink' cmd): ", 0);
    win_puts(window, 3, 2, "    Static PC IP address............: ", 0);
    win_puts(window, 4, 2, "    Use Ardovane PC Hawser - PC name:", 0);
    win_puts(window, 5, 2, "    Use Samba 'nmblookup'  - PC name:", 0);
    win_hline(window, WIN_MERGE, WIN_ENDS, 6, 0, WIN_ALL);

    TextField *fields = dialog.fields;
    ip_field(&fields[FOCUS_NAME], window, 1, 47, 15, 15, entry->name);
    strcpy(fields[FOCUS_NAME].refused, REFUSED);
    ip_field(&fields[FOCUS_ADDRESS], window, 3, 40, 15, 15, entry->address);
    strcpy(fields[FOCUS_ADDRESS].refused, REFUSED);
    fields[FOCUS_ADDRESS].digits_only = 1;
    ip_field(&fields[FOCUS_HAWSER], window, 4, 40, 16, 25,
             entry->kind == IP_HAWSER ? entry->pc_name : "");
    ip_field(&fields[FOCUS_SAMBA], window, 5, 40, 16, 25,
             entry->kind == IP_SAMBA ? entry->pc_name : "");

    RadioGroup *group = &dialog.group;
    radio_init(group);
    group->window = window;
    group->count = IP_KINDS;
    for (int i = 0; i < IP_KINDS; i++) {
        group->row[i] = 3 + i;
        group->column[i] = 2;
    }
    group->selected = (entry->kind >= 0 && entry->kind < IP_KINDS) ? entry->kind : IP_FIXED;

    field_show(&fields[FOCUS_NAME], FIELD_NO_CURSOR);
    radio_show(RADIO_ALL, group);
    field_show(&fields[FOCUS_ADDRESS], FIELD_NO_CURSOR);
    field_show(&fields[FOCUS_HAWSER], FIELD_NO_CURSOR);
    field_show(&fields[FOCUS_SAMBA], FIELD_NO_CURSOR);
    win_show(window);

    int result = entry_dialog_run(&dialog);
    if (result == 1)
        ip_store(&dialog, entry);
    return result;
}
