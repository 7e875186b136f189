// The name-to-IP address table: fixed-column lines, edited through the
// shared table machinery and the entry dialog.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "editors/editors.h"
#include "editors/table_screen.h"
#include "support/paths.h"
#include "term/term.h"

namespace {

// Copies up to width characters of line from offset (nothing when the line
// is shorter) and drops trailing blanks.
void ip_take_column(const char *line, int length, int offset, int width, char *out) {
    out[0] = '\0';
    if (length > offset)
        str_copy_max(out, line + offset, width);
    trim_trailing(out);
}

int ip_add(TableScreen *screen) {
    IpEntry entry = {};
    if (ip_entry_dialog(screen->window, ENTRY_ADD, -1, &entry, screen->list) != 1)
        return TABLE_STAY;
    char line[TABLE_LINE_MAX];
    ip_format_line(&entry, line, sizeof line);
    return table_add_line(screen, line);
}

int ip_edit(TableScreen *screen) {
    if (list_count(screen->list) <= 0) {
        message_box(BOX_BEEP, "Note", "There is nothing to edit.");
        return TABLE_STAY;
    }
    int current = screen->pick.current;
    char *old = static_cast<char *>(list_get(screen->list, current));
    if (old == nullptr) {
        message_box(BOX_BEEP, "Error", "Error retrieving data from IP list!");
        return TABLE_STAY;
    }
    IpEntry entry;
    ip_parse_line(old, &entry);
    if (ip_entry_dialog(screen->window, ENTRY_EDIT, current, &entry, screen->list) != 1)
        return TABLE_STAY;
    // The dialog does not change the list, but fetch again rather than keep
    // a pointer across it.
    old = static_cast<char *>(list_get(screen->list, current));
    if (old == nullptr) {
        message_box(BOX_BEEP, "Error", "Error retrieving data from IP list!");
        return TABLE_STAY;
    }
    char line[TABLE_LINE_MAX];
    ip_format_line(&entry, line, sizeof line);
    // Every stored line is at least 60 characters and a formatted one is
    // exactly 60, so it fits in place.
    memcpy(old, line, strlen(line) + 1);
    return table_resort(screen, line);
}

int ip_save(TableScreen *screen) {
    if (screen->changed == 0)
        return TABLE_LEAVE;
    if (!table_may_overwrite(screen))
        return TABLE_STAY;
    // Owner "root", the group as the ownership helpers work it out, mode
    // 0666; written beside the file and renamed over it, so that a failure
    // leaves the old table whole.
    ReplaceFile file;
    char msg[AV_MSG_MAX];
    if (replace_open(&file, AV_PATH_IPADDR, "root", nullptr, 0666, 0666) != 0) {
        snprintf(msg, sizeof msg, "Error opening IP address file for save! (%s)",
                 str_error(file.error));
        message_box(BOX_BEEP, "Error", msg);
        return TABLE_STAY;
    }
    int count = list_count(screen->list);
    for (int i = 0; i < count; i++) {
        const char *line = static_cast<const char *>(list_get(screen->list, i));
        if (line == nullptr)
            continue;
        // Parsed and formatted again: every line goes out in the fixed columns.
        IpEntry entry;
        ip_parse_line(line, &entry);
        char formatted[TABLE_LINE_MAX];
        ip_format_line(&entry, formatted, sizeof formatted);
        if (fprintf(file.stream, "%s\n", formatted) < 0 || fflush(file.stream) != 0)
            break;
    }
    if (replace_commit(&file) != 0) {
        // The screen stays open with every change for a later save.
        snprintf(msg, sizeof msg, "Error writing IP address file for save! (%s)",
                 str_error(file.error));
        message_box(BOX_BEEP, "Error", msg);
        return TABLE_STAY;
    }
    return TABLE_LEAVE;
}

const TableHead IP_HEADS[] = {{11, "Name"}, {27, "IP Address"}, {44, "PC Name"}};

const TableLayout IP_LAYOUT = {
    .title = "                            Name To IP Address Table                            ",
    .box_column = 9,
    .box_columns = 62,
    .heads = IP_HEADS,
    .head_count = 3,
    .list_error = "Could not create ip list!",
    .path = AV_PATH_IPADDR,
    .read = ip_read_table,
    .list_column = 11,
    .list_width = 58,
    .search_label = "Name: ",
    .search_column = 8,
    .search_width = 15,
    .add = ip_add,
    .edit = ip_edit,
    .save = ip_save,
};

} // namespace

void ip_parse_line(const char *line, IpEntry *entry) {
    int length = static_cast<int>(strlen(line));
    ip_take_column(line, length, 0, 15, entry->name);
    ip_take_column(line, length, 16, 15, entry->address);
    entry->kind = IP_FIXED;
    entry->pc_name[0] = '\0';
    if (length >= 36) {
        ip_take_column(line, length, 33, 25, entry->pc_name);
        if (length > 59 && line[59] == '1')
            entry->kind = IP_HAWSER;
        else if (length > 59 && line[59] == '2')
            entry->kind = IP_SAMBA;
    }
}

int ip_read_table(FILE *file, const char *path, List *list, char *msg) {
    char piece[LINE_PIECE_MAX + 1];
    char line[TABLE_LINE_MAX];
    char ignored[AV_MSG_MAX];
    for (;;) {
        int taken = read_line_piece(file, piece);
        // As for the other line files: a read error is no end of file, and
        // the piece it cut short is no line.
        if (ferror(file)) {
            if (msg != nullptr)
                snprintf(msg, AV_MSG_MAX, "%s while reading %s", strerror(errno), path);
            return LINE_READ_ERROR;
        }
        if (taken == 0)
            return 0;
        snprintf(line, sizeof line, "%-60s", piece);
        // A failed append ends the table there, without a word.
        if (list_add_string(line, list, ignored) != 0)
            return -1;
    }
}

void ip_format_line(const IpEntry *entry, char *line, int size) {
    snprintf(line, static_cast<size_t>(size), "%-15s %-15s  %-25s %d", entry->name, entry->address,
             entry->pc_name, entry->kind);
}

int ip_table_screen() {
    TableScreen screen;
    if (table_open(&screen, &IP_LAYOUT) != 0)
        return -1;
    return table_run(&screen) == TABLE_FAIL ? -1 : 0;
}
