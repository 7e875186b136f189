// The skeleton both entry dialogs (the IP table's and the line editors') run
// on: the window with its box, title and legend, the controls, the key loop,
// the duplicate check and the trim of a field's text.
#pragma once

#include "editors/editors.h"
#include "forms/forms.h"
#include "support/support.h"

// Focus stops are field indexes; with radio_stops set, the odd stops are the
// radio group's buttons (stop / 2).
constexpr int ENTRY_FIELDS_MAX = 7;

struct EntryDialog {
    int window{};
    int mode{};  // ENTRY_ADD or ENTRY_EDIT
    int index{}; // the edited entry's position in list
    List *list{};
    TextField fields[ENTRY_FIELDS_MAX]{};
    RadioGroup group{};
    int radio_stops{};
    int focus{};
    int changed{}; // 1 once any control changed
    // Enter, Tab and the arrows move the focus; nullptr: they change nothing.
    int (*next)(int focus, int kind){};
    int (*previous)(int focus, int kind){};
    // The save checks; 0 keeps the dialog open (after saying why).
    int (*accept)(EntryDialog *dialog){};
};

// Creates the dialog's window with its box, title and legend; -1 on failure.
int entry_dialog_open(EntryDialog *dialog, int parent, int row, int column, int rows, int columns,
                      int title_column, int legend_row, int legend_column);
// Runs the key loop and destroys the window. 1 when saved with a change, 0
// when cancelled or saved unchanged.
int entry_dialog_run(EntryDialog *dialog);
// Prepares an empty one-row field of a dialog.
void entry_field(TextField *field, int window, int row, int column, int width, int maximum);
// How entry_is_duplicate matches text against an entry.
constexpr int ENTRY_PREFIX = LIST_PREFIX; // text is the start of the entry
constexpr int ENTRY_EXACT = LIST_EXACT;   // text is the whole entry
// 1 (after "Error", message) when another entry than the edited one matches
// text, as a prefix or exactly.
int entry_is_duplicate(const EntryDialog *dialog, const char *text, int exact, const char *message);
// A field's text without leading and trailing blanks, into out (FIELD_TEXT_MAX + 1).
void entry_trimmed(const TextField *field, char *out);
