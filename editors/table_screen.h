// The list screen the three table screens (name-to-IP table, commands,
// environment) share: the screen window, its list and pick list, the key
// loop, delete, search, cancel and leaving. What differs between the screens
// is data in a TableLayout plus three steps (add, edit, save).
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

// Everything that tells one table screen from another, as far as the list
// screen and its key loop are concerned.
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

// Highest number of characters a table line can have (file pieces are at
// most 149 characters, padded IP lines at least 60).
constexpr int TABLE_LINE_MAX = 160;
