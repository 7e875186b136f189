// Single-line text field: editing keys are handled here, every other key goes
// back to the dialog that owns the field.
#include <cstring>

#include "forms/forms.h"
#include "term/term.h"
#include "win/win.h"

void field_init(TextField *field) {
    field->window = -1;
    field->row = 0;
    field->column = 0;
    field->length = 0;
    field->width = 0;
    field->maximum = 0;
    field->scroll = 0;
    field->changed = 0;
    field->no_blanks = 0;
    field->digits_only = 0;
    field->refused[0] = '\0';
    field->text[0] = '\0';
}

void field_show(TextField *field, int cursor) {
    if (cursor != -1) {
        // The cursor may stand one column past the field without scrolling.
        if (cursor > field->scroll + field->width)
            field->scroll = cursor - field->width;
        else if (cursor < field->scroll)
            field->scroll = cursor;
    }
    win_clear(field->window, field->row, field->column, 1, field->width);

    char view[FIELD_TEXT_MAX + 1];
    int length = static_cast<int>(strnlen(field->text, FIELD_TEXT_MAX));
    int from = field->scroll < 0 ? 0 : field->scroll;
    int to = field->scroll + field->width;
    if (to > length)
        to = length;
    int n = to - from;
    if (n < 0)
        n = 0;
    if (n > 0)
        std::memcpy(view, field->text + from, static_cast<size_t>(n));
    view[n] = '\0';
    win_puts(field->window, field->row, field->column, view, 0);
    win_refresh(field->window, 0, 0, WIN_ALL, WIN_ALL);
    if (cursor != -1)
        win_cursor(field->window, field->row, field->column + cursor - field->scroll);
}

namespace {

// The text buffer holds FIELD_TEXT_MAX characters whatever the dialog asked.
int field_limit(const TextField *field) {
    return field->maximum < FIELD_TEXT_MAX ? field->maximum : FIELD_TEXT_MAX;
}

void remove_range(TextField *field, int from, int to) {
    std::memmove(field->text + from, field->text + to, static_cast<size_t>(field->length - to + 1));
    field->length -= to - from;
}

bool ends_edit(int key) {
    switch (key) {
    case KEY_CTRL_A:
    case KEY_CTRL_D:
    case KEY_CTRL_G:
    case KEY_CTRL_I:
    case KEY_CTRL_J:
    case KEY_CTRL_K:
    case KEY_CTRL_L:
    case KEY_CTRL_M:
    case KEY_CTRL_O:
    case KEY_CTRL_R:
    case KEY_CTRL_T:
    case KEY_CTRL_Z:
    case KEY_ESCAPE:
    case KEY_UP:
    case KEY_DOWN:
    case KEY_TAB:
    case KEY_BACKTAB:
        return true;
    default:
        return key >= KEY_F3 && key <= KEY_F10;
    }
}

// Returns the new cursor index, or -1 when the character was refused.
int type_char(TextField *field, int p, int ch) {
    if (field->digits_only && !((ch >= '0' && ch <= '9') || ch == '.'))
        return -1;
    if (ch == ' ' && field->no_blanks)
        return -1;
    if (std::memchr(field->refused, ch, strnlen(field->refused, sizeof field->refused)) != nullptr)
        return -1;
    // Marked before the room check: an attempt to type counts as a change.
    field->changed = 1;
    int limit = field_limit(field);
    if (insert_mode == 1 && p != field->length) {
        // Insert mode never refuses: the last character makes room.
        if (field->length + 1 > limit) {
            field->length--;
            field->text[field->length] = '\0';
        }
        std::memmove(field->text + p + 1, field->text + p,
                     static_cast<size_t>(field->length - p + 1));
        field->text[p] = static_cast<char>(ch);
        field->length++;
        return p + 1;
    }
    if (p >= limit)
        return -1;
    field->text[p] = static_cast<char>(ch);
    if (p == field->length) {
        field->length++;
        field->text[field->length] = '\0';
    }
    return p + 1;
}

// Cursor keys; false when the cursor cannot move that way.
bool move_cursor(const TextField *field, int key, int *p) {
    int to = key == KEY_LEFT    ? *p - 1
             : key == KEY_RIGHT ? *p + 1
             : key == KEY_HOME  ? 0
                                : field->length;
    if (to < 0 || to > field->length || to == *p)
        return false;
    *p = to;
    return true;
}

// Backspace, Delete (or F2), Ctrl-E (cut to the end) and Ctrl-W (the word under
// the cursor and the blanks after it); false when there is nothing to remove.
bool delete_text(TextField *field, int key, int *p) {
    int from = *p;
    int to = *p + 1;
    if (key == KEY_BACKSPACE || key == KEY_CTRL_H) {
        from = *p - 1;
        to = *p;
    } else if (key == KEY_CTRL_E) {
        to = field->length;
    } else if (key == KEY_CTRL_W) {
        while (to < field->length && field->text[to] != ' ')
            to++;
        while (to < field->length && field->text[to] == ' ')
            to++;
    }
    if (from < 0 || to > field->length || from >= to)
        return false;
    field->changed = 1;
    remove_range(field, from, to);
    *p = from;
    return true;
}

void toggle_insert_mode() {
    insert_mode = insert_mode ? 0 : 1;
    message_box(BOX_BEEP, "Note", insert_mode ? "Insert mode is now ON" : "Insert mode is now OFF");
}

// One key that stays in the field; false when it does nothing.
bool apply_key(TextField *field, int key, int *p) {
    switch (key) {
    case KEY_LEFT:
    case KEY_RIGHT:
    case KEY_HOME:
    case KEY_END:
        return move_cursor(field, key, p);
    case KEY_BACKSPACE:
    case KEY_CTRL_H:
    case KEY_DELETE:
    case KEY_F2:
    case KEY_CTRL_E:
    case KEY_CTRL_W:
        return delete_text(field, key, p);
    case KEY_INSERT:
    case KEY_F1:
        toggle_insert_mode();
        return true;
    default:
        if (key < 32 || key > 126)
            return false;
        int next = type_char(field, *p, key);
        if (next < 0)
            return false;
        *p = next;
        return true;
    }
}

} // namespace

int field_edit(TextField *field) {
    // Keep the record consistent with its text even if the dialog set the
    // length carelessly.
    field->text[FIELD_TEXT_MAX] = '\0';
    field->length = static_cast<int>(std::strlen(field->text));

    int p = 0;
    field->scroll = 0;
    field_show(field, p);
    for (;;) {
        term_cursor_on();
        int key = key_read();
        term_cursor_off();
        if (ends_edit(key)) {
            field_show(field, 0);
            return key;
        }
        if (apply_key(field, key, &p))
            field_show(field, p);
        else
            term_beep();
    }
}
