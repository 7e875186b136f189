// Line lists: text files held as Lists of strings, one entry per line.
#include "support/support.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// Every entry is carried in a block of this size while sorting.
constexpr int SORT_BLOCK = 256;

void message(char *msg, const char *text) {
    if (msg != nullptr) {
        snprintf(msg, AV_MSG_MAX, "%s", text);
    }
}

void line_read_error(char *msg, const char *path, int error) {
    if (msg != nullptr) {
        snprintf(msg, AV_MSG_MAX, "%s while reading %s", strerror(error),
                 path != nullptr ? path : "");
    }
}

// "<what>: <path> (<reason>)", made to fit what a message box shows: a path
// too long for that loses its beginning (".../config/env"), never the reason.
void message_reason(char *msg, const char *what, const char *path, int error) {
    if (msg == nullptr) {
        return;
    }
    const char *reason = str_error(error);
    size_t length = strlen(path);
    int room = AV_MSG_SHOWN - static_cast<int>(strlen(what) + strlen(reason) + 5);
    if (static_cast<int>(length) <= room) {
        snprintf(msg, AV_MSG_MAX, "%s: %s (%s)", what, path, reason);
        return;
    }
    room -= 3;
    const char *tail = path + length - (room > 0 ? room : 0);
    // From a component's start, when one is in reach.
    const char *slash = strchr(tail, '/');
    if (slash != nullptr && slash[1] != '\0') {
        tail = slash;
    }
    snprintf(msg, AV_MSG_MAX, "%s: ...%s (%s)", what, tail, reason);
}

int compare_strings(const void *key, const void *data, int limit) {
    const char *a = static_cast<const char *>(key);
    const char *b = static_cast<const char *>(data);
    return limit < 0 ? str_casecmp(a, b) : str_ncasecmp(a, b, limit);
}

} // namespace

int read_line_piece(FILE *file, char *piece) {
    int taken = 0; // characters of the file in this piece
    int length = 0;
    int c = EOF;
    // One thread: the stream's lock, taken for every character, is not needed.
    while (taken < LINE_PIECE_MAX && (c = getc_unlocked(file)) != EOF) {
        taken++;
        if (c == '\n') {
            break;
        }
        // Entries are C strings: a NUL byte would hide the rest of the line,
        // so it is dropped and the visible text kept.
        if (c != '\0') {
            piece[length++] = static_cast<char>(c);
        }
    }
    piece[length] = '\0';
    return taken;
}

int read_line_file(const char *path, List *list, const char *prefix, char *msg) {
    FILE *file = open_regular_file(path);
    if (file == nullptr) {
        message_reason(msg, "Could not open", path != nullptr ? path : "", errno);
        return -1;
    }
    int longest = read_line_stream(file, path, list, prefix, msg);
    fclose(file);
    return longest;
}

int read_line_stream(FILE *file, const char *path, List *list, const char *prefix, char *msg) {
    if (prefix == nullptr) {
        prefix = "";
    }
    size_t prefix_length = strlen(prefix);
    char *entry = static_cast<char *>(mem_alloc(prefix_length + LINE_PIECE_MAX + 1));
    if (entry == nullptr) {
        message(msg, "Ran out of memory while saving list! (1)");
        return -1;
    }
    memcpy(entry, prefix, prefix_length);
    char *piece = entry + prefix_length;
    int longest = 0;
    for (;;) {
        int taken = read_line_piece(file, piece);
        // A read error would pass for the end of the file, and a later save
        // would then cut the file short. The piece it ended is dropped, not
        // taken for a line: reading on could split that line in two.
        if (ferror(file)) {
            line_read_error(msg, path, errno);
            mem_free(entry);
            return LINE_READ_ERROR;
        }
        if (taken == 0) {
            break;
        }
        int length = static_cast<int>(strlen(piece));
        if (length > longest) {
            longest = length;
        }
        if (list_add_string(entry, list, msg) != 0) {
            mem_free(entry);
            return -1;
        }
    }
    mem_free(entry);
    return longest;
}

int write_line_file(const char *path, List *list, char *msg) {
    // Written beside the file and renamed over it: an existing file keeps its
    // owner and mode, and a failure at any point leaves it whole.
    // A new file is readable by all and writable by root only, whatever
    // root's umask: a file any user could write would let them add commands.
    ReplaceFile file;
    if (path == nullptr) {
        message_reason(msg, "Could not open", "", ENOENT);
        return -1;
    }
    if (replace_open(&file, path, nullptr, nullptr, -1, 0644) != 0) {
        message_reason(msg, "Could not open", path, file.error);
        return -1;
    }
    if (write_line_stream(file.stream, list, msg) != 0) {
        replace_abandon(&file);
        return -1;
    }
    if (replace_commit(&file) != 0) {
        message_reason(msg, "Could not write", path, file.error);
        return -1;
    }
    return 0;
}

int write_line_stream(FILE *file, List *list, char *msg) {
    int count = list_count(list);
    for (int i = 0; i < count; i++) {
        const char *text = static_cast<const char *>(list_get(list, i));
        if (text == nullptr) {
            message(msg, "Error retrieving data from list!");
            return -1;
        }
        // A failed write leaves the stream's error flag set for the caller.
        if (fprintf(file, "%s\n", text) < 0) {
            break;
        }
    }
    return 0;
}

int list_add_string(const char *text, List *list, char *msg) {
    char *copy = str_dup(text);
    if (copy == nullptr) {
        message(msg, "Ran out of memory while saving list! (1)");
        return -1;
    }
    if (list_append(list, copy, str_free) == nullptr) {
        str_free(copy);
        message(msg, "Ran out of memory while saving attachment list! (2)");
        return -1;
    }
    return 0;
}

int list_find_string(const char *text, int mode, List *list) {
    if (text == nullptr) {
        return -1;
    }
    size_t length = strlen(text);
    int count = list_count(list);
    for (int i = 0; i < count; i++) {
        const char *entry = static_cast<const char *>(list_get(list, i));
        if (entry == nullptr) {
            return -1;
        }
        bool match =
            mode == LIST_PREFIX ? strncmp(entry, text, length) == 0 : strcmp(entry, text) == 0;
        if (match) {
            return i;
        }
    }
    return -1;
}

int sort_string_list(List *list, char *msg) {
    SortedList *sorted = slist_create(25, 0, compare_strings);
    if (sorted == nullptr) {
        message(msg, "Error making sorted list!");
        return -1;
    }
    int count = list_count(list);
    for (int i = 0; i < count; i++) {
        const char *text = static_cast<const char *>(list_get(list, i));
        if (text == nullptr) {
            message(msg, "Error retrieving data from list!");
            slist_destroy(sorted);
            return -1;
        }
        // An entry too long for its block is refused rather than cut, so the
        // list is left whole instead of silently losing text.
        char *block =
            strlen(text) < SORT_BLOCK ? static_cast<char *>(mem_alloc(SORT_BLOCK)) : nullptr;
        if (block != nullptr) {
            str_copy_max(block, text, SORT_BLOCK - 1);
        }
        if (block == nullptr || slist_insert(sorted, block, block, mem_free) == nullptr) {
            mem_free(block);
            message(msg, "Error adding to sorted list!");
            slist_destroy(sorted);
            return -1;
        }
    }
    if (slist_count(sorted) != count) {
        message(msg, "Error sorting list!");
        slist_destroy(sorted);
        return -1;
    }
    list_clear(list);
    for (int i = 0; i < count; i++) {
        const char *text = static_cast<const char *>(list_get(sorted->list, i));
        if (text == nullptr) {
            message(msg, "Error retrieving data from sorted list!");
            slist_destroy(sorted);
            return -1;
        }
        if (list_add_string(text, list, msg) != 0) {
            message(msg, "Error adding data to list!");
            slist_destroy(sorted);
            return -1;
        }
    }
    slist_destroy(sorted);
    return 0;
}

void trim_leading(char *text) {
    if (text == nullptr) {
        return;
    }
    size_t skip = 0;
    while (text[skip] == ' ' || text[skip] == '\t') {
        skip++;
    }
    if (skip > 0) {
        memmove(text, text + skip, strlen(text + skip) + 1);
    }
}

void trim_trailing(char *text) {
    if (text == nullptr) {
        return;
    }
    size_t length = strlen(text);
    while (length > 0 &&
           (text[length - 1] == ' ' || text[length - 1] == '\t' || text[length - 1] == '\n')) {
        text[--length] = '\0';
    }
}

void trim_blanks(char *text) {
    trim_leading(text);
    trim_trailing(text);
}
