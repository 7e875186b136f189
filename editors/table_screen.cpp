#include "editors/table_screen.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include "support/paths.h"
#include "term/term.h"
#include "win/win.h"

namespace {

void table_release(TableScreen *screen) {
    if (screen->window >= 0)
        win_destroy(screen->window);
    if (screen->list != nullptr)
        list_destroy(screen->list);
    screen->window = -1;
    screen->list = nullptr;
    config_unlock(screen->lock);
    screen->lock = -1;
}

void table_legend(int window) {
    const char *pieces[] = {
        "A", "-Add, ", "D",       "-Delete, ",       "E",       "-Edit, ", "S", "-Search, ", "F6",
        "/", "^G",     "-Save, ", cancel_key_name(), "-Cancel", nullptr};
    legend_puts(window, 23, 12, pieces);
}

void table_delete(TableScreen *screen) {
    if (list_count(screen->list) <= 0) {
        message_box(BOX_BEEP, "Note", "There is nothing to delete.");
        return;
    }
    if (yes_no_box(BOX_QUIET, "CONFIRM", "Delete this entry?") != 1)
        return;
    if (list_delete(screen->list, screen->pick.current) != 0) {
        message_box(BOX_BEEP, "Error", "Error deleting item from list!");
        return;
    }
    // The current index may now be past the end; pick_list_run pulls it back.
    screen->changed = 1;
}

void table_search(TableScreen *screen) {
    const TableLayout *layout = screen->layout;
    int window = win_create(screen->window, "", 8, 25, 5, 30);
    if (window < 0) {
        term_beep();
        return;
    }
    win_box(window, WIN_REPLACE, 0, 0, 5, 30);
    win_puts(window, 0, 7, "Search For Entry", 0);
    win_puts(window, 1, 2, layout->search_label, 0);
    win_hline(window, WIN_MERGE, WIN_ENDS, 2, 0, WIN_ALL);
    const char *pieces[] = {"ENTER", "-Search, ", cancel_key_name(), "-Cancel", nullptr};
    legend_puts(window, 3, 3, pieces);

    TextField field;
    field_init(&field);
    field.window = window;
    field.row = 1;
    field.column = layout->search_column;
    field.width = layout->search_width;
    field.maximum = layout->search_width;
    field.no_blanks = 1;
    field_show(&field, FIELD_NO_CURSOR);
    win_show(window);

    int found = -1;
    for (;;) {
        int key = field_edit(&field);
        if (key_is_enter(key) || key_is_save(key)) {
            if (field.text[0] != '\0') {
                found = list_find_string(field.text, LIST_PREFIX, screen->list);
                if (found < 0) {
                    char note[FIELD_TEXT_MAX + 40];
                    snprintf(note, sizeof note, "No entry was found for '%s'", field.text);
                    message_box(BOX_BEEP, "Note", note);
                }
            }
            break;
        }
        if (key_is_cancel(key))
            break;
        if (key_is_repaint(key))
            term_repaint();
        else
            term_beep();
    }
    win_destroy(window);
    if (found >= 0)
        screen->pick.current = found;
}

// The file's identity as the screen keeps it.
void table_identity(const struct stat *status, TableFileId *id) {
    id->present = 1;
    id->device = status->st_dev;
    id->inode = status->st_ino;
    id->size = status->st_size;
    id->modified = status->st_mtim;
}

// What table_load gives for a file that is another user's link.
constexpr int LOAD_LINK_REFUSED = -3;

// Loads the screen's file into its list and notes what the file was. A file
// that cannot be opened is an empty table. 0, or LINE_READ_ERROR with the
// reason in msg: what was read is in the list; or LOAD_LINK_REFUSED with
// the note in msg: nothing was read.
int table_load(TableScreen *screen, char *msg) {
    const TableLayout *layout = screen->layout;
    screen->loaded = TableFileId{};
    FILE *file = open_regular_file(layout->path);
    struct stat status;
    if (file == nullptr) {
        // Another user's link is not followed: it could lead to any file of
        // root's, which the screen would show and a save would publish.
        if (errno == AV_ELINKOWNER) {
            snprintf(msg, AV_MSG_MAX, "This file %s, so it is not opened.",
                     str_error(AV_ELINKOWNER));
            return LOAD_LINK_REFUSED;
        }
        if (stat(layout->path, &status) == 0)
            table_identity(&status, &screen->loaded);
        return 0;
    }
    if (fstat(fileno(file), &status) == 0)
        table_identity(&status, &screen->loaded);
    // A failed append keeps what was read, without a word, as the list's
    // other failures do; only a read error makes the table untrustworthy.
    int result = layout->read(file, layout->path, screen->list, msg);
    fclose(file);
    return result == LINE_READ_ERROR ? LINE_READ_ERROR : 0;
}

int table_same_file(const TableFileId *a, const TableFileId *b) {
    if (a->present != b->present)
        return 0;
    return !a->present ||
           (a->device == b->device && a->inode == b->inode && a->size == b->size &&
            a->modified.tv_sec == b->modified.tv_sec && a->modified.tv_nsec == b->modified.tv_nsec);
}

// 1 when the change that key asks for may go ahead; a read-only screen says
// why it may not.
int table_may_change(TableScreen *screen) {
    if (screen->read_only[0] == '\0')
        return 1;
    message_box(BOX_BEEP, "Note", screen->read_only);
    return 0;
}

// 1 when the screen may be left.
int table_cancel(TableScreen *screen) {
    if (screen->changed == 0)
        return 1;
    return yes_no_box(BOX_BEEP, "CONFIRM", "Lose all changes?");
}

} // namespace

int table_open(TableScreen *screen, const TableLayout *layout) {
    screen->layout = layout;
    screen->window = -1;
    screen->list = nullptr;
    screen->changed = 0;
    screen->read_only[0] = '\0';
    screen->loaded = TableFileId{};
    pick_list_init(&screen->pick);

    // One editor at a time: two sessions saving the same file would each
    // silently drop the other's changes. Without the directory there is
    // nothing to lock, and a save will say so.
    char note[AV_MSG_MAX];
    screen->lock = config_lock(AV_PATH_CONFIG_DIR, note);
    if (screen->lock == CONFIG_LOCK_BUSY) {
        message_box(BOX_BEEP, "Note", note);
        return -1;
    }
    // Editing goes on, but the user has to know that nothing keeps a second
    // session from overwriting the changes.
    if (screen->lock == CONFIG_LOCK_FAILED)
        message_box(BOX_BEEP, "Note", note);
    if (screen->lock >= 0) {
        replace_remove_stale(AV_PATH_CONFIG_DIR);
    }
    term_cursor_off();
    insert_mode = 0;
    screen->window = win_create(-1, "", 0, 0, 24, 80);
    if (screen->window < 0) {
        // Without a window there is nothing to show a message in.
        term_beep();
        table_release(screen);
        return -1;
    }
    int window = screen->window;
    win_puts(window, 0, 0, layout->title, ATTR_REV);
    win_box(window, WIN_REPLACE, 1, layout->box_column, 22, layout->box_columns);
    for (int i = 0; i < layout->head_count; i++)
        win_puts(window, 1, layout->heads[i].column, layout->heads[i].text, 0);
    table_legend(window);

    screen->list = list_create(25);
    if (screen->list == nullptr) {
        message_box(BOX_BEEP, "Error", layout->list_error);
        table_release(screen);
        return -1;
    }
    char load_msg[AV_MSG_MAX];
    int loaded = table_load(screen, load_msg);
    char msg[AV_MSG_MAX];
    if (sort_string_list(screen->list, msg) != 0) {
        message_box(BOX_BEEP, "Error", msg);
        table_release(screen);
        return -1;
    }

    PickList *pick = &screen->pick;
    pick->window = window;
    pick->count = list_count(screen->list);
    pick->first_row = 2;
    pick->column = layout->list_column;
    pick->width = layout->list_width;
    pick->rows = 20;
    pick->park_row = 23;
    pick->park_column = 69;
    pick_list_show(pick, screen->list);
    win_show(window);
    if (loaded == LINE_READ_ERROR) {
        // Shown over the table, which holds what could be read. Saving that
        // would lose the rest of the file for good.
        message_box(BOX_BEEP, "Error", load_msg);
        table_read_only(screen, "This file could not be read whole, so it cannot be changed here.");
    } else if (loaded == LOAD_LINK_REFUSED) {
        message_box(BOX_BEEP, "Note", load_msg);
        table_read_only(screen,
                        "This file is a link owned by another user, so it cannot be changed here.");
    }
    return 0;
}

int table_may_overwrite(TableScreen *screen) {
    TableFileId now = {};
    struct stat status;
    if (stat(screen->layout->path, &status) == 0)
        table_identity(&status, &now);
    // Gone since: there is nothing of anyone's to overwrite. Another user's
    // link is never written through: the save refuses it and says why.
    struct stat link;
    if (!now.present || table_same_file(&screen->loaded, &now) ||
        (lstat(screen->layout->path, &link) == 0 && S_ISLNK(link.st_mode) &&
         link.st_uid != geteuid()))
        return 1;
    // Someone else wrote the file (ipaddr is writable by every user); saving
    // would drop their change without a word. The yes/no box holds 67
    // characters, so the question is put in fewer words than the full note.
    return yes_no_box(BOX_BEEP, "CONFIRM",
                      "The file was changed outside this program. Overwrite it?");
}

void table_read_only(TableScreen *screen, const char *note) {
    snprintf(screen->read_only, sizeof screen->read_only, "%s", note);
    // Nothing will be saved from here, so other sessions need not wait.
    config_unlock(screen->lock);
    screen->lock = -1;
}

int table_resort(TableScreen *screen, const char *text) {
    char msg[AV_MSG_MAX];
    if (sort_string_list(screen->list, msg) != 0) {
        message_box(BOX_BEEP, "Error", msg);
        return TABLE_FAIL;
    }
    int found = list_find_string(text, LIST_EXACT, screen->list);
    if (found >= 0)
        screen->pick.current = found;
    screen->changed = 1;
    return TABLE_STAY;
}

int table_add_line(TableScreen *screen, const char *line) {
    char msg[AV_MSG_MAX];
    if (list_add_string(line, screen->list, msg) != 0) {
        message_box(BOX_BEEP, "Error", msg);
        return TABLE_FAIL;
    }
    return table_resort(screen, line);
}

int table_run(TableScreen *screen) {
    const TableLayout *layout = screen->layout;
    int result = TABLE_STAY;
    while (result == TABLE_STAY) {
        int key = pick_list_run(&screen->pick, screen->list);
        if (key_is_enter(key))
            key = 'e';
        else if (key_is_save(key))
            key = KEY_F6;
        else if (key_is_cancel(key))
            key = 'x';
        else if (key_is_repaint(key))
            key = KEY_CTRL_L;
        switch (key) {
        case 'A':
        case 'a':
            if (table_may_change(screen))
                result = layout->add(screen);
            break;
        case 'E':
        case 'e':
            if (table_may_change(screen))
                result = layout->edit(screen);
            break;
        case 'D':
        case 'd':
        case KEY_DELETE:
        case KEY_F2:
            if (table_may_change(screen))
                table_delete(screen);
            break;
        case 'S':
        case 's':
            table_search(screen);
            break;
        case KEY_F6:
            if (table_may_change(screen))
                result = layout->save(screen);
            break;
        case 'X':
        case 'x':
            if (table_cancel(screen))
                result = TABLE_LEAVE;
            break;
        case KEY_CTRL_L:
            term_repaint();
            break;
        default:
            term_beep();
            break;
        }
    }
    table_release(screen);
    return result;
}
