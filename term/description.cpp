// Terminal description: terminal type, file search, entry reading and the
// capability lookups. Two fixed buffers for the life of the process.
#include "term/term.h"
#include "term/term_internal.h"
#include "support/paths.h"
#include "support/support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
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

namespace {

// Reads the entry named name from f (from where it stands) into the entry
// buffer: the first entry replaces what the buffer holds, a linked one
// (first false) is appended without its names. False when f lacks it.
bool read_named_entry(FILE *f, const char *name, bool first) {
    size_t name_len = strlen(name);
    bool inside = false;
    char line[LINE_READ];
    while (fgets(line, sizeof line, f)) {
        if (!inside) {
            if (!name_starts_line(line, name, name_len))
                continue;
            inside = true;
            if (!first) {
                char *colon = strchr(line, ':');
                if (!colon)
                    colon = line + strlen(line);
                memmove(line, colon, strlen(colon) + 1);
            } else {
                entry_len = 0;
                entry[0] = '\0';
            }
        }
        append_line(line);
        size_t len = strlen(line);
        if (len >= 2 && line[len - 2] == '\\')
            continue;
        return true;
    }
    return inside;
}

// Links still to follow, innermost first: an entry may end in several "tc"
// fields, and each linked entry's own links come before its later siblings.
constexpr int PENDING_MAX = 16;
char pending[PENDING_MAX][TC_NAME_MAX + 1];
int pending_count;

// Cuts the entry at its first "tc" field and queues that link and the
// "tc" fields after it (any other field there is dropped, as for one link).
// False when the entry has no link.
bool take_links() {
    const char *tc_name = term_capabilities[CAP_TC].name;
    size_t tc_len = strlen(tc_name);
    int tc = tc_find(tc_name);
    if (tc < 0 || entry[tc] != '=')
        return false;
    int cut = tc - static_cast<int>(tc_len);
    // The names of this entry's links, in order, as offsets into the entry.
    int starts[PENDING_MAX];
    int lengths[PENDING_MAX];
    int n = 0;
    // cut is where the "tc" field's name begins, just after its ":".
    for (int field = cut; field < entry_len;) {
        int end = field;
        while (end < entry_len && entry[end] != ':')
            ++end;
        int value = field + static_cast<int>(tc_len) + 1;
        if (end > value && strncmp(entry + field, tc_name, tc_len) == 0 &&
            entry[value - 1] == '=') {
            if (n < PENDING_MAX) {
                starts[n] = value;
                lengths[n] = end - value > TC_NAME_MAX ? TC_NAME_MAX : end - value;
                ++n;
            } else {
                links_cut = 1;
            }
        }
        field = end + 1;
    }
    if (n == 0) {
        // "tc=" with an empty name: nothing to follow, and nothing to keep.
        entry_len = cut;
        entry[entry_len] = '\0';
        return true;
    }
    // Pushed last first, so that the first link is followed first. Without
    // room for all, the last ones go (and start-up says so).
    int keep = n < PENDING_MAX - pending_count ? n : PENDING_MAX - pending_count;
    if (keep < n)
        links_cut = 1;
    for (int i = keep - 1; i >= 0; --i) {
        memcpy(pending[pending_count], entry + starts[i], static_cast<size_t>(lengths[i]));
        pending[pending_count][lengths[i]] = '\0';
        ++pending_count;
    }
    entry_len = cut;
    entry[entry_len] = '\0';
    return true;
}

// Appends the linked entries of the entry now loaded, found in f.
void follow_links(FILE *f) {
    pending_count = 0;
    int links = 0;
    for (;;) {
        take_links();
        if (pending_count == 0)
            return;
        if (links >= TC_LINKS_MAX) {
            // Give up on the loop as on a missing link: keep what was read,
            // and let start-up say that capabilities may be missing.
            links_cut = 1;
            pending_count = 0;
            return;
        }
        ++links;
        --pending_count;
        char name[TC_NAME_MAX + 1];
        strcpy(name, pending[pending_count]);
        // A link that the file lacks is no error: the entry stays as read.
        rewind(f);
        read_named_entry(f, name, false);
    }
}

} // namespace

int tc_read_entry_stream(FILE *f, const char *name) {
    links_cut = 0;
    if (!read_named_entry(f, name, true))
        return 0;
    follow_links(f);
    return 1;
}

namespace {

void load_entry_text(const char *text);

// True when the names field of text (up to its first ":") holds name.
bool text_names_include(const char *text, const char *name) {
    size_t n = strlen(name);
    const char *end = strchr(text, ':');
    if (!end)
        end = text + strlen(text);
    for (const char *p = text; p < end;) {
        const char *bar = static_cast<const char *>(memchr(p, '|', static_cast<size_t>(end - p)));
        const char *stop = bar ? bar : end;
        if (static_cast<size_t>(stop - p) == n && strncmp(p, name, n) == 0)
            return true;
        p = stop + 1;
    }
    return false;
}

} // namespace

int tc_read_entry_text(const char *text, const char *name) {
    links_cut = 0;
    if (!text || !text_names_include(text, name))
        return 0;
    load_entry_text(text);
    return 1;
}

namespace {

void load_entry_text(const char *text) {
    entry_len = 0;
    entry[0] = '\0';
    // Line by line as from a file: continuation lines join the first, and
    // the first line that does not continue ends the entry.
    bool line_start = true;
    for (const char *p = text; *p && *p != '\n'; ++p) {
        if (line_start && (*p == ' ' || *p == '\t' || *p == ':' || *p == '|'))
            continue;
        line_start = false;
        if (p[0] == '\\' && p[1] == '\n') {
            ++p;
            line_start = true;
            continue;
        }
        if (entry_len < ENTRY_MAX)
            entry[entry_len++] = *p;
    }
    entry[entry_len] = '\0';
    // Links are looked for in the text, as in the file that held an entry.
    FILE *f = fmemopen(const_cast<char *>(text), strlen(text), "r");
    if (f) {
        follow_links(f);
        fclose(f);
    } else {
        take_links();
        pending_count = 0;
    }
}

} // namespace

int tc_links_cut() {
    return links_cut;
}

int tc_search_places(const char *places[TC_PLACES_MAX]) {
    for (const char *var : {"AVTERMCAP", "QXTERMCAP"}) {
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
    if (tc_search_pinned())
        return 0;
    // A TERMCAP that holds an entry's text rather than a path is ignored:
    // the compiled database below knows the type as well.
    // Last, the compiled terminfo database, which knows far more types than
    // any termcap file here. It comes before start-up's family fallback
    // (each family name is searched the same way): a type's own compiled
    // entry describes its keys and motion, a family's only resembles them.
    static char compiled[2 * ENTRY_MAX];
    if (tc_terminfo_entry(name, compiled, sizeof compiled) >= 0) {
        links_cut = 0;
        load_entry_text(compiled);
        return 1;
    }
    return 0;
}

int tc_search_pinned() {
    for (const char *var : {"AVTERMCAP", "QXTERMCAP"}) {
        const char *path = getenv(var);
        if (path && path[0] == '/')
            return 1;
    }
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
            case 's':
                area_put(' '); // the standard dialect's blank
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
    if (save_mode == TERM_SAVE_MODE) {
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
