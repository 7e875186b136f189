// Machinery shared by the three table screens (name-to-IP table, commands,
// environment): the screen window, its list and pick list, the key loop,
// delete, search, cancel and leaving. What differs between the screens is
// data in a TableLayout plus three steps (add, edit, save).
#pragma once

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

struct TableLayout {
    const char *title; // 80 columns, reverse video on row 0
    int box_column;
    int box_columns;
    const TableHead *heads; // column heads on the box's top border
    int head_count;
    const char *list_error; // shown when the list cannot be created
    TableLoadFn load;
    int list_column;
    int list_width;
    const char *search_label;
    int search_column;
    int search_width;
    TableStepFn add;
    TableStepFn edit;
    TableStepFn save;
};

struct TableScreen {
    const TableLayout *layout;
    const void *detail; // the screen's own data, read by its steps
    int window;
    List *list;
    PickList pick;
    int changed;
    int lock; // the configuration directory's lock while the screen is open
};

// Builds the window, loads and sorts the list and shows the pick list.
// 0 on success; -1 after the failure was shown and everything released.
int table_open(TableScreen *screen, const TableLayout *layout, const void *detail);
// The key loop: TABLE_LEAVE when the user left, TABLE_FAIL on an error.
// The window and the list are released either way.
int table_run(TableScreen *screen);

// Sorts the list; on success the entry equal to text (if any) becomes the
// current one and the changed flag is set. On failure shows the message and
// returns TABLE_FAIL.
int table_resort(TableScreen *screen, const char *text);

// Prepares an empty one-row field of the screens' dialogs.
void table_field(TextField *field, int window, int row, int column, int width, int maximum);

// The keys an entry dialog treats alike: the cancel keys leave (0) unless
// there are changes the user wants to keep; repaint and unknown keys stay (-1).
int table_dialog_key(int key, int changed);

// Draws the save/cancel legend of the entry dialogs at (row, column).
void table_dialog_legend(int window, int row, int column);

// Highest number of characters a table line can have (file pieces are at
// most 149 characters, padded IP lines at least 60).
constexpr int TABLE_LINE_MAX = 160;
