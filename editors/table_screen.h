// Machinery shared by the three table screens (name-to-IP table, commands,
// environment): the screen window, its list and pick list, the key loop,
// delete, search, cancel and leaving. What differs between the screens is
// data in a TableLayout plus three steps (add, edit, save).
#pragma once

#include "editors/editors.h"
#include "forms/forms.h"
#include "support/support.h"

struct TableScreen;

// Result of a step: TABLE_STAY keeps the key loop going, TABLE_LEAVE leaves
// the screen normally, TABLE_FAIL closes it on an error.
constexpr int TABLE_STAY = 0;
constexpr int TABLE_LEAVE = 1;
constexpr int TABLE_FAIL = -1;

using TableStepFn = int (*)(TableScreen *screen);
// Fills the freshly created list from the screen's file; failures are silent.
using TableLoadFn = void (*)(List *list);

struct TableHead {
    int column;
    const char *text;
};

// Everything that tells one table screen from another. The name-to-IP table
// fills the first part; the line editors (commands, environment) also the
// second, which their shared steps read.
struct TableLayout {
    const char *title{}; // 80 columns, reverse video on row 0
    int box_column{};
    int box_columns{};
    const TableHead *heads{}; // column heads on the box's top border
    int head_count{};
    const char *list_error{}; // shown when the list cannot be created
    TableLoadFn load{};
    int list_column{};
    int list_width{};
    const char *search_label{};
    int search_column{};
    int search_width{};
    TableStepFn add{};
    TableStepFn edit{};
    TableStepFn save{};

    // Line editors only.
    const char *path{};
    const char *fetch_error{};
    const char *remove_error{};
    const char *append_error{};
    int add_limit{}; // 0: no limit
    const char *limit_note{};
    int needs_equal{}; // an entry must contain "="
    int dialog_rows{};
    const char *dialog_label{};
    const char *dialog_note{}; // nullptr: none
    int legend_row{};
    int field_column{};
    int field_width{};
};

struct TableScreen {
    const TableLayout *layout;
    int window;
    List *list;
    PickList pick;
    int changed;
    int lock; // the configuration directory's lock while the screen is open
};

// Builds the window, loads and sorts the list and shows the pick list.
// 0 on success; -1 after the failure was shown and everything released.
int table_open(TableScreen *screen, const TableLayout *layout);
// The key loop: TABLE_LEAVE when the user left, TABLE_FAIL on an error.
// The window and the list are released either way.
int table_run(TableScreen *screen);

// Sorts the list; on success the entry equal to text (if any) becomes the
// current one and the changed flag is set. On failure shows the message and
// returns TABLE_FAIL.
int table_resort(TableScreen *screen, const char *text);
// Appends line and resorts as above; a failed append shows the list's
// message and returns TABLE_FAIL.
int table_add_line(TableScreen *screen, const char *line);

// Prepares an empty one-row field of the screens' dialogs.
void table_field(TextField *field, int window, int row, int column, int width, int maximum);

// Draws the save/cancel legend of the entry dialogs at (row, column).
void table_dialog_legend(int window, int row, int column);

// ---- entry dialogs -----------------------------------------------------------
// What the IP dialog and the line dialog share: the window, the controls, the
// key loop and the duplicate check. Focus stops are field indexes; with
// radio_stops set, the odd stops are the radio group's buttons (stop / 2).
constexpr int ENTRY_FIELDS_MAX = 7;

struct EntryDialog {
    const TableLayout *layout{}; // the screen that opened it
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
// 1 (after "Error", message) when another entry than the edited one matches
// text: exactly, or with exact 0 as a prefix.
int entry_is_duplicate(const EntryDialog *dialog, const char *text, int exact, const char *message);
// A field's text without leading and trailing blanks, into out (FIELD_TEXT_MAX + 1).
void entry_trimmed(const TextField *field, char *out);

// Highest number of characters a table line can have (file pieces are at
// most 149 characters, padded IP lines at least 60).
constexpr int TABLE_LINE_MAX = 160;
