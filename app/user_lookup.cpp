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
    // Only lines that the system library's own reader takes as entries count:
    // name, password, a decimal user ID and at least four more fields. Lines
    // it might read otherwise (comments, leading blanks, the "+" and "-"
    // lines of compat mode) are passed over here, and so left to the
    // database.
    int found = 0;
    int column = 0;
    int fields = 0;
    int digits = 0;
    int skip = 0;
    unsigned long long value = 0;
    for (int c = getc(file);; c = getc(file)) {
        if (c == EOF || c == '\n') {
            if (!skip && fields >= 6 && value == uid) {
                found = 1;
                break;
            }
            if (c == EOF)
                break;
            column = fields = digits = skip = 0;
            value = 0;
            continue;
        }
        if (column++ == 0 && strchr(" \t#+-:", c) != nullptr)
            skip = 1;
        if (skip)
            continue;
        if (c == ':') {
            skip = fields == 2 && digits == 0;
            fields++;
        } else if (fields == 2) {
            value = value * 10 + static_cast<unsigned>(c - '0');
            digits++;
            skip = c < '0' || c > '9' || value > 0xFFFFFFFFull;
        }
    }
    fclose(file);
    return found;
}

int passwd_reads_files(const char *nsswitch_path) {
    FILE *file = fopen(nsswitch_path, "r");
    if (file == nullptr) // without the file the system library reads the files
        return errno == ENOENT ? 1 : 0;
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
    fclose(file);
    // No "passwd:" line: the system library's default reads the files.
    return files || !seen;
}
