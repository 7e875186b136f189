// The direct reading of the password file that start-up tries before the
// password database. Both readers go a character at a time, so lines of any
// length are taken whole and nothing is allocated.
#include "app/app.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

int passwd_file_has_uid(const char *path, unsigned int uid) {
    FILE *file = fopen(path, "r");
    if (file == nullptr)
        return -1;
    int found = passwd_stream_has_uid(file, uid);
    fclose(file);
    return found;
}

int passwd_stream_has_uid(FILE *file, unsigned int uid) {
    // Only lines that the system library's own reader takes as entries count:
    // name, password, a decimal user ID, a decimal group ID and at least
    // three more fields. Lines it might read otherwise (comments, leading
    // blanks, the "+" and "-" lines of compat mode, a NUL byte, which ends
    // the line for it) are passed over here, and so left to the database.
    int column = 0;
    int fields = 0;
    int digits = 0;
    int skip = 0;
    unsigned long long ids[2] = {0, 0}; // user and group
    for (int c = getc(file);; c = getc(file)) {
        if (c == EOF || c == '\n') {
            if (!skip && fields >= 6 && ids[0] == uid)
                return 1;
            if (c == EOF)
                return 0;
            column = fields = digits = skip = 0;
            ids[0] = ids[1] = 0;
            continue;
        }
        if ((column++ == 0 && strchr(" \t#+-:", c) != nullptr) || c == '\0')
            skip = 1;
        if (skip)
            continue;
        int id_field = fields == 2 || fields == 3;
        if (c == ':') {
            skip = id_field && digits == 0;
            fields++;
            digits = 0;
        } else if (id_field) {
            unsigned long long &id = ids[fields - 2];
            id = id * 10 + static_cast<unsigned>(c - '0');
            digits++;
            skip = c < '0' || c > '9' || id > 0xFFFFFFFFull;
        }
    }
}

int passwd_reads_files(const char *nsswitch_path) {
    FILE *file = fopen(nsswitch_path, "r");
    if (file == nullptr) // without the file the system library reads the files
        return errno == ENOENT ? 1 : 0;
    int files = passwd_stream_reads_files(file);
    fclose(file);
    return files;
}

int passwd_stream_reads_files(FILE *file) {
    // A word longer than any compared one is cut to nothing, so matches none.
    char word[8];
    int length = 0;
    int named = 0;  // the database name of this line has ended
    int passwd = 0; // this is the "passwd:" line
    int comment = 0;
    int seen = 0;
    int files = 0;
    for (int c = getc(file);; c = getc(file)) {
        comment = comment || c == '#';
        int line_end = c == '\n' || c == EOF;
        int name_end = c == ':' && !named && !comment;
        if (!comment && !line_end && !name_end && c != ' ' && c != '\t') {
            if (length < static_cast<int>(sizeof word) - 1)
                word[length] = static_cast<char>(c);
            length++;
            continue;
        }
        word[length < static_cast<int>(sizeof word) ? length : 0] = '\0';
        if (name_end) {
            named = 1;
            passwd = strcmp(word, "passwd") == 0;
            seen = seen || passwd;
        } else if (passwd && (strcmp(word, "files") == 0 || strcmp(word, "compat") == 0)) {
            files = 1;
        }
        length = 0;
        if (line_end)
            named = passwd = comment = 0;
        if (c == EOF)
            break;
    }
    // No "passwd:" line: the system library's default reads the files.
    return files || !seen;
}
