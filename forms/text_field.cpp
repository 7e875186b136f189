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
    int length = (int)strnlen(field->text, FIELD_TEXT_MAX);
    int from = field->scroll < 0 ? 0 : field->scroll;
    int to = field->scroll + field->width;
    if (to > length)
        to = length;
    int n = to - from;
    if (n < 0)
        n = 0;
    if (n > 0)
        std::memcpy(view, field->text + from, (size_t)n);
    view[n] = '\0';
    win_puts(field->window, field->row, field->column, view, 0);
    win_refresh(field->window, 0, 0, -1, -1);
    if (cursor != -1)
        win_cursor(field->window, field->row, field->column + cursor - field->scroll);
}

namespace {

// The text buffer holds FIELD_TEXT_MAX characters whatever the dialog asked.
int field_limit(const TextField *field) {
    return field->maximum < FIELD_TEXT_MAX ? field->maximum : FIELD_TEXT_MAX;
}

void remove_range(TextField *field, int from, int to) {
    std::memmove(field->text + from, field->text + to, (size_t)(field->length - to + 1));
    field->length -= to - from;
}

bool ends_edit(int key) {
    switch (key) {
    case 1:
    case 4:
    case 7:
    case 9:
    case 10:
    case 11:
    case 12:
    case 13:
    case 15:
    case 18:
    case 20:
    case 26:
    case 27:
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
        std::memmove(field->text + p + 1, field->text + p, (size_t)(field->length - p + 1));
        field->text[p] = (char)ch;
        field->length++;
        return p + 1;
    }
    if (p >= limit)
        return -1;
    field->text[p] = (char)ch;
    if (p == field->length) {
        field->length++;
        field->text[field->length] = '\0';
    }
    return p + 1;
}

} // namespace

int field_edit(TextField *field) {
    // Keep the record consistent with its text even if the dialog set the
    // length carelessly.
    field->text[FIELD_TEXT_MAX] = '\0';
    field->length = (int)std::strlen(field->text);

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
        bool ok = true;
        switch (key) {
        case KEY_LEFT:
            if (p > 0)
                p--;
            else
                ok = false;
            break;
        case KEY_RIGHT:
            if (p < field->length)
                p++;
            else
                ok = false;
            break;
        case KEY_HOME:
            if (p != 0)
                p = 0;
            else
                ok = false;
            break;
        case KEY_END:
            if (p < field->length)
                p = field->length;
            else
                ok = false;
            break;
        case KEY_BACKSPACE:
        case 8:
            if (p > 0) {
                field->changed = 1;
                p--;
                remove_range(field, p, p + 1);
            } else {
                ok = false;
            }
            break;
        case KEY_DELETE:
        case KEY_F2:
            if (p < field->length) {
                field->changed = 1;
                remove_range(field, p, p + 1);
            } else {
                ok = false;
            }
            break;
        case 5: // Ctrl-E: cut to the end
            if (p < field->length) {
                field->changed = 1;
                field->text[p] = '\0';
                field->length = p;
            } else {
                ok = false;
            }
            break;
        case 23: // Ctrl-W: the word under the cursor and the blanks after it
            if (p < field->length) {
                field->changed = 1;
                int end = p + 1;
                while (end < field->length && field->text[end] != ' ')
                    end++;
                while (end < field->length && field->text[end] == ' ')
                    end++;
                remove_range(field, p, end);
            } else {
                ok = false;
            }
            break;
        case KEY_INSERT:
        case KEY_F1:
            insert_mode = insert_mode ? 0 : 1;
            message_box(1, "Note",
                        insert_mode ? "Insert mode is now ON" : "Insert mode is now OFF");
            break;
        default:
            if (key >= 32 && key <= 126) {
                int next = type_char(field, p, key);
                if (next < 0)
                    ok = false;
                else
                    p = next;
            } else {
                ok = false;
            }
            break;
        }
        if (!ok) {
            term_beep();
            continue;
        }
        field_show(field, p);
    }
}
