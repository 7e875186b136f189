// Terminal description: terminal type, file search, entry reading and the
// capability lookups. Two fixed buffers for the life of the process.
#include "term/term.h"
#include "term/term_internal.h"
#include "support/paths.h"
#include "support/support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/ioctl.h>

namespace {

constexpr int ENTRY_MAX = 4096;
constexpr int AREA_MAX = 4096;
constexpr int LINE_READ = 255; // fgets size: at most 254 characters per read
constexpr int TC_NAME_MAX = 271;
// An entry that links (directly or through others) back to itself would
// otherwise be read forever; real descriptions chain two or three deep.
constexpr int TC_LINKS_MAX = 32;

char entry[ENTRY_MAX + 1];
int entry_len;
// One spare byte so that a full area still ends every string with a NUL.
char area[AREA_MAX + 1];
int area_used;
// Set when the last entry read stopped following "tc" links at the limit.
int links_cut;

bool name_starts_line(const char *line, const char *name, size_t name_len) {
    for (const char *p = line; *p; ++p) {
        if (p != line && p[-1] != '|')
            continue;
        if (strncmp(p, name, name_len) != 0)
            continue;
        char after = p[name_len];
        if (after == '|' || after == ':' || after == '\n' || after == '\0')
            return true;
    }
    return false;
}

void append_line(const char *line) {
    const char *p = line;
    while (*p == ' ' || *p == '\t' || *p == ':' || *p == '|')
        ++p;
    for (; *p && *p != '\n'; ++p) {
        if (p[0] == '\\' && p[1] == '\n')
            break;
        if (entry_len >= ENTRY_MAX)
            continue; // cut, but keep consuming
        entry[entry_len++] = *p;
    }
    entry[entry_len] = '\0';
}

bool at_field_end(int pos) {
    return pos >= entry_len || entry[pos] == ':';
}

} // namespace

int tc_find(const char *name) {
    size_t n = strlen(name);
    // From field to field, testing the first letter before the name: a lookup
    // meets every field of the entry, and the start-up makes some sixty.
    const char *end = entry + entry_len;
    for (const char *p = entry; (p = static_cast<const char *>(memchr(p, ':', end - p))); ++p) {
        if ((n == 0 || p[1] == name[0]) && strncmp(p + 1, name, n) == 0)
            return static_cast<int>(p - entry) + 1 + static_cast<int>(n);
    }
    return -1;
}

int tc_read_entry(const char *path, const char *name) {
    // A FIFO or a device would hang or never end the search: only regular
    // files are descriptions.
    FILE *f = open_regular_file(path);
    if (!f)
        return 0;
    int found = tc_read_entry_stream(f, name);
    fclose(f);
    return found;
}

int tc_read_entry_stream(FILE *f, const char *name) {
    links_cut = 0;
    char link_name[TC_NAME_MAX + 1];
    const char *sought = name;
    size_t sought_len = strlen(sought);
    bool inside = false;
    bool found = false;
    int links = 0;
    char line[LINE_READ];
    while (fgets(line, sizeof line, f)) {
        if (!inside) {
            if (!name_starts_line(line, sought, sought_len))
                continue;
            inside = true;
            if (found) {
                char *colon = strchr(line, ':');
                if (!colon)
                    colon = line + strlen(line);
                memmove(line, colon, strlen(colon) + 1);
            } else {
                entry_len = 0;
                entry[0] = '\0';
            }
            found = true;
        }
        append_line(line);
        size_t len = strlen(line);
        if (len >= 2 && line[len - 2] == '\\')
            continue;
        int tc = tc_find("tc");
        if (tc < 0 || entry[tc] != '=')
            break;
        if (links >= TC_LINKS_MAX) {
            // Give up on the loop as on a missing link: keep what was read,
            // and let start-up say that capabilities may be missing.
            links_cut = 1;
            entry_len = tc - 2;
            entry[entry_len] = '\0';
            break;
        }
        ++links;
        int start = tc + 1;
        int end = start;
        while (end < entry_len && entry[end] != ':')
            ++end;
        int n = end - start;
        if (n > TC_NAME_MAX)
            n = TC_NAME_MAX;
        memcpy(link_name, entry + start, static_cast<size_t>(n));
        link_name[n] = '\0';
        sought = link_name;
        sought_len = static_cast<size_t>(n);
        entry_len = tc - 2;
        entry[entry_len] = '\0';
        inside = false;
        rewind(f);
    }
    return found ? 1 : 0;
}

int tc_links_cut() {
    return links_cut;
}

int tc_search_places(const char *places[TC_PLACES_MAX]) {
    const char *vars[] = {"AVTERMCAP", "QXTERMCAP"};
    for (const char *var : vars) {
        const char *path = getenv(var);
        if (path && path[0] == '/') {
            places[0] = path; // an explicit file replaces the whole search
            return 1;
        }
    }
    const char *files[] = {AV_PATH_TERMDEF, "/etc/termcap.AV", "/etc/termcap.AVQX", "/etc/termcap"};
    int n = 0;
    for (const char *path : files)
        places[n++] = path;
    const char *path = getenv("TERMCAP");
    if (path && path[0] == '/')
        places[n++] = path;
    return n;
}

int tc_load(const char *name) {
    const char *places[TC_PLACES_MAX];
    int n = tc_search_places(places);
    for (int i = 0; i < n; i++)
        if (tc_read_entry(places[i], name))
            return 1;
    return 0;
}

int tc_flag(const char *name) {
    int pos = tc_find(name);
    return pos >= 0 && at_field_end(pos) ? 1 : 0;
}

int tc_num(const char *name) {
    int pos = tc_find(name);
    if (pos < 0 || pos >= entry_len || entry[pos] != '#')
        return -1;
    ++pos;
    if (pos >= entry_len || entry[pos] < '0' || entry[pos] > '9')
        return -1;
    long value = 0;
    while (pos < entry_len && entry[pos] >= '0' && entry[pos] <= '9') {
        // Saturate rather than overflow on absurd numbers.
        if (value < 100000000L)
            value = value * 10 + (entry[pos] - '0');
        ++pos;
    }
    if (!at_field_end(pos))
        return -1;
    return static_cast<int>(value);
}

namespace {

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}
bool is_octal(char c) {
    return c >= '0' && c <= '7';
}

void area_put(int byte) {
    if (area_used < AREA_MAX)
        area[area_used++] = static_cast<char>(byte);
}

} // namespace

const char *tc_str(const char *name) {
    int pos = tc_find(name);
    if (pos < 0 || pos >= entry_len || entry[pos] != '=')
        return nullptr;
    ++pos;
    if (is_digit(entry[pos])) {
        int p = pos;
        while (is_digit(entry[p]))
            ++p;
        if (entry[p] == '.') {
            ++p;
            while (is_digit(entry[p]))
                ++p;
        }
        if (entry[p] == '*')
            ++p;
        if (!at_field_end(p))
            pos = p;
    }
    char *result = area + area_used;
    while (pos < entry_len && entry[pos] != ':') {
        char c = entry[pos++];
        // "^:" is a colon inside the value; only a caret at the very end of
        // the entry has nothing to encode and stays a caret.
        if (c == '^' && pos < entry_len) {
            unsigned char next = static_cast<unsigned char>(entry[pos++]);
            if (next > '_')
                area_put(next - 96);
            else if (next > '?')
                area_put(next - 64);
            else
                area_put(next);
        } else if (c == '\\' && pos < entry_len) {
            char next = entry[pos];
            if (is_octal(next)) {
                int value = 0;
                int digits = 0;
                while (digits < 3 && pos + digits < entry_len && is_octal(entry[pos + digits])) {
                    value = value * 8 + (entry[pos + digits] - '0');
                    ++digits;
                }
                if (digits == 3 && value == 0 && entry[pos] == '0') {
                    area_put('\\'); // "\000" is not a NUL: the digits follow as text
                    continue;
                }
                area_put(value & 0xff);
                pos += digits;
                continue;
            }
            ++pos;
            switch (next) {
            case 'E':
                area_put(27);
                break;
            case '\\':
                area_put('\\');
                break;
            case '^':
                area_put('^');
                break;
            case 'a':
                area_put(7);
                break;
            case 'f':
                area_put(12);
                break;
            case 'n':
                area_put(10);
                break;
            case 'r':
                area_put(13);
                break;
            case 't':
                area_put(9);
                break;
            case 'v':
                area_put(11);
                break;
            default:
                // Unknown escape: keep the backslash, decode the next
                // character normally.
                area_put('\\');
                --pos;
                break;
            }
        } else {
            area_put(static_cast<unsigned char>(c));
        }
    }
    area[area_used] = '\0';
    if (area_used < AREA_MAX)
        ++area_used;
    return result;
}

int term_init(int save_mode, TermState *state) {
    const char *vars[] = {"AVTERM", "QXTERM", "TERM"};
    const char *name = nullptr;
    for (const char *var : vars) {
        name = getenv(var);
        if (name)
            break;
    }
    if (!name)
        return -1;
    state->term_name = name;
    return term_load_description(save_mode, state, name);
}

int term_load_description(int save_mode, TermState *state, const char *name) {
    if (!tc_load(name))
        return -2;
    term_settle_motion();
    if (save_mode == 1) {
        ioctl(0, TCGETA, &state->saved_mode);
        state->work_mode = state->saved_mode;
    }
    return 0;
}

void tc_reset() {
    links_cut = 0;
    entry_len = 0;
    entry[0] = '\0';
    area_used = 0;
    area[0] = '\0';
}
