// Radio group: mutually exclusive buttons, each a focus stop of its dialog.
#include "forms/forms.h"
#include "term/term.h"
#include "win/win.h"

void radio_init(RadioGroup *group) {
    group->window = -1;
    for (int i = 0; i < RADIO_MAX; i++) {
        group->row[i] = 0;
        group->column[i] = 0;
    }
    group->count = 2;
    group->selected = 0;
    group->changed = 0;
}

namespace {

void show_one(int i, RadioGroup *group) {
    win_cursor(group->window, group->row[i], group->column[i] + 1);
    win_puts(group->window, group->row[i], group->column[i], group->selected == i ? "(*)" : "( )",
             0);
    win_refresh(group->window, 0, 0, WIN_ALL, WIN_ALL);
}

} // namespace

void radio_show(int index, RadioGroup *group) {
    if (index == -1) {
        int count = group->count > RADIO_MAX ? RADIO_MAX : group->count;
        for (int i = 0; i < count; i++)
            show_one(i, group);
        return;
    }
    if (index >= 0 && index < RADIO_MAX)
        show_one(index, group);
}

int radio_run(int focus, RadioGroup *group) {
    if (focus < 0 || focus >= RADIO_MAX)
        return KEY_TAB; // no such button: let the dialog move on
    int f = focus;
    radio_show(f, group);
    for (;;) {
        win_cursor(group->window, group->row[f], group->column[f] + 1);
        term_cursor_on();
        int key = key_read();
        term_cursor_off();

        switch (key) {
        case ' ':
        case '*':
        case 'X':
        case 'x':
            if (group->selected != f) {
                int old = group->selected;
                group->selected = f;
                radio_show(old, group);
                radio_show(f, group);
                group->changed = 1;
            }
            return KEY_TAB;
        case KEY_CTRL_M:
        case KEY_CTRL_J:
        case KEY_DOWN:
            return KEY_TAB;
        case KEY_UP:
            return KEY_BACKTAB;
        case KEY_CTRL_A:
        case KEY_CTRL_D:
        case KEY_CTRL_G:
        case KEY_CTRL_I:
        case KEY_CTRL_K:
        case KEY_CTRL_L:
        case KEY_CTRL_R:
        case KEY_CTRL_T:
        case KEY_ESCAPE:
        case KEY_LEFT:
        case KEY_RIGHT:
        case KEY_TAB:
        case KEY_BACKTAB:
        case KEY_HOME:
            return key;
        default:
            if (key >= KEY_F1 && key <= KEY_F10)
                return key;
            term_beep();
            break;
        }
    }
}
