// Prints what the program will use on a terminal type, read through the
// terminal library itself: each key binding, the cursor motion for a few
// positions, the clear, cursor, keypad, line-drawing and attribute strings.
//
//   avtermdump [-f FILE] TYPE
//
// With -f only FILE is searched (as AVTERMCAP does); otherwise the search is
// the program's own. Bytes are shown with \E for ESC, \\ for a backslash and
// \ooo for other bytes outside printable ASCII. Exit status 1 when the type
// has no description.
#include "term/term.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

std::string caught;

void catch_output(int, const char *bytes, size_t length) {
    caught.append(bytes, length);
}

std::string shown(const std::string &bytes) {
    std::string out;
    char octal[8];
    for (unsigned char c : bytes) {
        if (c == 27) {
            out += "\\E";
        } else if (c == '\\') {
            out += "\\\\";
        } else if (c < 33 || c > 126) {
            snprintf(octal, sizeof octal, "\\%03o", c);
            out += octal;
        } else {
            out += static_cast<char>(c);
        }
    }
    return out;
}

std::string sent_by(void (*send)()) {
    caught.clear();
    send();
    return caught;
}

const char *key_name(int code) {
    static const struct {
        int code;
        const char *name;
    } names[] = {{KEY_LEFT, "left"},
                 {KEY_UP, "up"},
                 {KEY_DOWN, "down"},
                 {KEY_RIGHT, "right"},
                 {KEY_BACKSPACE, "backspace"},
                 {KEY_DELETE, "delete"},
                 {KEY_TAB, "tab"},
                 {KEY_BACKTAB, "backtab"},
                 {KEY_PGUP, "pgup"},
                 {KEY_PGDN, "pgdn"},
                 {KEY_HOME, "home"},
                 {KEY_END, "end"},
                 {KEY_INSERT, "insert"},
                 {KEY_F1, "f1"},
                 {KEY_F2, "f2"},
                 {KEY_F3, "f3"},
                 {KEY_F4, "f4"},
                 {KEY_F5, "f5"},
                 {KEY_F6, "f6"},
                 {KEY_F7, "f7"},
                 {KEY_F8, "f8"},
                 {KEY_F9, "f9"},
                 {KEY_F10, "f10"},
                 {KEY_ESC_ESC, "esc-esc"},
                 {KEY_ESC_QUERY, "esc-query"},
                 {KEY_ESC_SLASH, "esc-slash"}};
    for (const auto &n : names)
        if (n.code == code)
            return n.name;
    return "?";
}

} // namespace

int main(int argc, char **argv) {
    int arg = 1;
    if (argc == 4 && strcmp(argv[1], "-f") == 0) {
        // Only a path from "/" pins the search.
        char path[PATH_MAX];
        setenv("AVTERMCAP", realpath(argv[2], path) ? path : argv[2], 1);
        arg = 3;
    }
    if (argc != arg + 1) {
        fprintf(stderr, "usage: avtermdump [-f FILE] TYPE\n");
        return 2;
    }
    setenv("AVTERM", argv[arg], 1);
    TermState state{};
    if (term_init(TERM_KEEP_MODE, &state) != 0) {
        printf("type %s: no description\n", argv[arg]);
        return 1;
    }
    term_set_writer(catch_output);
    // What the locale would change is left out: the dump is the description's.
    term_set_utf8_locale(0);
    term_screen_strings();

    printf("type %s\n", argv[arg]);
    const int positions[][2] = {{0, 0}, {4, 9}, {12, 40}, {23, 78}};
    for (const auto &p : positions)
        printf("goto %d %d %s\n", p[0], p[1], shown(term_goto(p[0], p[1])).c_str());
    printf("clear %s\n", shown(sent_by(term_clear)).c_str());
    printf("cursor-on %s\n", shown(sent_by(term_cursor_on)).c_str());
    printf("cursor-off %s\n", shown(sent_by(term_cursor_off)).c_str());
    printf("keypad-on %s\n", shown(sent_by(term_keypad_on)).c_str());
    printf("keypad-off %s\n", shown(sent_by(term_keypad_off)).c_str());
    for (int i = 0; i < LS_COUNT; ++i)
        printf("line %s %s\n", term_capabilities[CAP_GS + i].name,
               shown(term_line_string(i)).c_str());
    for (int i = 0; i < 16; ++i)
        printf("attribute %d %s\n", i, shown(term_attribute_string(i)).c_str());
    KeyBinding bindings[80];
    int n = key_bindings(bindings, 80);
    for (int i = 0; i < n && i < 80; ++i)
        printf("key %s %s %d %s\n", key_name(bindings[i].code),
               bindings[i].cap >= 0 ? term_capabilities[bindings[i].cap].name : "-",
               bindings[i].priority, shown(bindings[i].sequence).c_str());
    return 0;
}
