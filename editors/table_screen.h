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
// Reads the screen's open file into the freshly created list: 0, -1 when an
// entry could not be added (the lines so far stay, nothing is said), or
// LINE_READ_ERROR with the reason in msg.
using TableReadFn = int (*)(FILE *file, const char *path, List *list, char *msg);

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
    const char *path{};       // the file the screen edits
    TableReadFn read{};
    int list_column{};
    int list_width{};
    const char *search_label{};
    int search_column{};
    int search_width{};
    TableStepFn add{};
    TableStepFn edit{};
    TableStepFn save{};
};

// What the file was when it was loaded, to tell whether someone changed it
// before the save.
struct TableFileId {
    int present; // 0: there was no file
    dev_t device;
    ino_t inode;
    off_t size;
    struct timespec modified;
};

struct TableScreen {
    const TableLayout *layout;
    int window;
    List *list;
    PickList pick;
    int changed;
    int lock; // the configuration directory's lock while the screen is open
    // Not empty: the screen only shows its file, and every change (add,
    // edit, delete, save) is refused with this note.
    char read_only[AV_MSG_MAX];
    TableFileId loaded;
};

// Builds the window, loads and sorts the list and shows the pick list.
// 0 on success; -1 after the failure was shown and everything released.
int table_open(TableScreen *screen, const TableLayout *layout);
// The key loop: TABLE_LEAVE when the user left, TABLE_FAIL on an error.
// The window and the list are released either way.
int table_run(TableScreen *screen);

// Before a save: 1 when the file is still what was loaded, or the user
// agrees to overwrite what someone else changed; 0 keeps the screen.
int table_may_overwrite(TableScreen *screen);
// Makes the screen read-only: note says why, on every change refused.
void table_read_only(TableScreen *screen, const char *note);

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
