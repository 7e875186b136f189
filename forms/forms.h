// Form widgets: text field, pick list, radio group, message and yes/no boxes,
// document pager. Each runs its own key loop on key_read and returns to its
// screen the keys it does not handle.
#pragma once

#include "support/support.h"

// ---- settings.cpp: process-wide settings and key legends ---------------------------
// 0 overwrite, 1 insert; shared by every text field.
extern int insert_mode;
// 1 unless the terminal description has "Ne": the screens then name their
// cancel key "ESC", else "F5". Settled once at start-up.
extern int escape_key_setting;
const char *cancel_key_name(); // "ESC" or "F5", by escape_key_setting
// Writes the screens' key legends: keys in reverse video, words in the
// normal attribute, each piece right after the previous one. pieces
// alternates key, words, key, words ...; ends with nullptr. Returns the
// column after the last piece.
int legend_puts(int window, int row, int column, const char *const *pieces);

// ---- text_field.cpp: the one-line text field ---------------------------------------
constexpr int FIELD_TEXT_MAX = 128;
// field_show's cursor index for drawing without moving the view or the cursor.
constexpr int FIELD_NO_CURSOR = -1;

struct TextField {
    int window;                    // window that holds the field
    int row;                       // row of the field in the window
    int column;                    // first column of the field in the window
    int length;                    // characters in text
    int width;                     // columns shown
    int maximum;                   // most characters typing may make, at most FIELD_TEXT_MAX
    int scroll;                    // index of the first character shown
    int changed;                   // 1 after any editing action; never cleared by the field
    int no_blanks;                 // 1 refuses the blank
    int digits_only;               // 1 takes only 0-9 and "."
    char refused[100];             // characters refused with the bell
    char text[FIELD_TEXT_MAX + 1]; // the contents, NUL-terminated
};

void field_init(TextField *field); // the defaults: window -1, all else 0 or empty
// Draws the field; with a cursor index the view scrolls to show it and the
// terminal cursor goes there, with FIELD_NO_CURSOR neither moves.
void field_show(TextField *field, int cursor);
// Edits until a key that is not an editing key; returns that key, the view
// back at the start of the text.
int field_edit(TextField *field);

// ---- scroll_view.cpp: what the pick list and the pager share ------------------------
// A window area that shows the strings of a List one per row, from entry
// `top` on.
struct ScrollView {
    int window;      // window that holds the area
    int top;         // entry shown on the first row
    int count;       // entries; re-read from the List at every full draw
    int first_row;   // window row of the first row shown
    int column;      // window column where every row starts
    int width;       // columns of every row
    int rows;        // rows shown
    int park_row;    // where the terminal cursor waits while the view has the focus
    int park_column; // column of that place
};

// ---- pick_list.cpp: the scrolling pick list ---------------------------------------------
struct PickList : ScrollView {
    int current; // the highlighted entry
};

void pick_list_init(PickList *pick); // the defaults: window -1, all else 0
// Brings top in line with current, draws the rows and the scroll marks (one
// column right of the rows, on the rows above and below) and refreshes.
void pick_list_show(PickList *pick, List *list);
// Moves the highlight by rows (negative: up), ringing the bell at either end.
void pick_list_move(int rows, PickList *pick, List *list);
// Handles the movement keys; returns any other key, current on the entry chosen.
int pick_list_run(PickList *pick, List *list);

// ---- radio.cpp: the radio group ------------------------------------------------------
constexpr int RADIO_MAX = 6;
// radio_show's index for every button in use.
constexpr int RADIO_ALL = -1;

struct RadioGroup {
    int window;            // window that holds the buttons
    int row[RADIO_MAX];    // each button's row, in button order
    int column[RADIO_MAX]; // and the column of its "("
    int count;             // buttons in use
    int selected;          // the selected button
    int changed;           // 1 once the user changed the selection; never cleared
};

void radio_init(RadioGroup *group); // window -1, count 2, selected 0, unchanged
// Draws button index ("(*)" or "( )"), or all of them with RADIO_ALL, and refreshes.
void radio_show(int index, RadioGroup *group);
// With button focus focused: blank, "*" or "x" select it and return KEY_TAB;
// Return, Ctrl-J and Down return KEY_TAB, Up KEY_BACKTAB; other keys the
// dialog handles are returned, the rest ring the bell.
int radio_run(int focus, RadioGroup *group);

// ---- boxes.cpp: the message and yes/no boxes --------------------------------------
// Whether a box rings the bell when it opens.
constexpr int BOX_QUIET = 0;
constexpr int BOX_BEEP = 1;

// Shows text (cut at 76) under title until any key; the screen beneath comes
// back unchanged. 0.
int message_box(int beep, const char *title, const char *text);
// Asks question (cut at 67) with " (Y/N): " until Y or N; 1 yes, 0 no.
int yes_no_box(int beep, const char *title, const char *question);

// ---- pager.cpp: the document pager --------------------------------------------------
struct Pager : ScrollView {
    int mark_row;    // window row of the eight scroll-mark cells
    int mark_column; // window column of the first of them
};

void pager_init(Pager *pager); // window -1, marks at (22, 72), all else 0
// Draws the lines from top on, blanks the rows below the last, draws the
// marks and refreshes.
void pager_show(Pager *pager, List *list);
// Scrolls by line, half page, page, Home and End; returns any other key.
int pager_run(Pager *pager, List *list);
