// Form widgets: text field, pick list, radio group, message and yes/no boxes,
// document pager. Each runs its own key loop on key_read and returns to its
// screen the keys it does not handle.
#pragma once

#include "support/support.h"

// 0 overwrite, 1 insert; shared by every text field.
extern int insert_mode;

// 1 unless the terminal description has "Ne": the screens then name their
// cancel key "ESC", else "F5". Settled once at start-up.
extern int escape_key_setting;
const char *cancel_key_name();

// Writes the screens' key legends: keys in reverse video, words in the
// normal attribute, each piece right after the previous one. pieces
// alternates key, words, key, words ...; ends with nullptr. Returns the
// column after the last piece.
int legend_puts(int window, int row, int column, const char *const *pieces);

// ---- text field ------------------------------------------------------------
constexpr int FIELD_TEXT_MAX = 128;

struct TextField {
    int window;
    int row;
    int column;
    int length;
    int width;
    int maximum;
    int scroll;
    int changed;
    int no_blanks;
    int digits_only;
    char refused[100];
    char text[FIELD_TEXT_MAX + 1];
};

void field_init(TextField *field);
void field_show(TextField *field, int cursor);
int field_edit(TextField *field);

// ---- scrolling view ------------------------------------------------------------
// What the pick list and the pager share: a window area that shows the strings
// of a List one per row, from entry `top` on.
struct ScrollView {
    int window;
    int top;
    int count; // re-read from the List at every full draw
    int first_row;
    int column;
    int width;
    int rows;
    int park_row; // where the terminal cursor waits while the view has the focus
    int park_column;
};

// ---- pick list ---------------------------------------------------------------
struct PickList : ScrollView {
    int current;
};

void pick_list_init(PickList *pick);
void pick_list_show(PickList *pick, List *list);
void pick_list_move(int rows, PickList *pick, List *list);
int pick_list_run(PickList *pick, List *list);

// ---- radio group ---------------------------------------------------------------
constexpr int RADIO_MAX = 6;

struct RadioGroup {
    int window;
    int row[RADIO_MAX];
    int column[RADIO_MAX];
    int count;
    int selected;
    int changed;
};

void radio_init(RadioGroup *group);
void radio_show(int index, RadioGroup *group);
int radio_run(int focus, RadioGroup *group);

// ---- message and yes/no boxes ---------------------------------------------------
int message_box(int beep, const char *title, const char *text);
int yes_no_box(int beep, const char *title, const char *question);

// ---- document pager ---------------------------------------------------------------
struct Pager : ScrollView {
    int mark_row;
    int mark_column;
};

void pager_init(Pager *pager);
void pager_show(Pager *pager, List *list);
int pager_run(Pager *pager, List *list);
