// Terminal library: termcap-style description loading, terminal output and
// keyboard input. Fixed process-wide buffers; nothing is allocated.
#pragma once

#include <cstddef>
#include <cstdio>
#include <termio.h>

// ---- here: key codes and the key scheme ---------------------------------------
// What key_read returns for the special keys; byte values 1..255 are their own codes.
constexpr int KEY_LEFT = 257;
constexpr int KEY_UP = 258;
constexpr int KEY_DOWN = 259;
constexpr int KEY_RIGHT = 260;
constexpr int KEY_BACKSPACE = 261;
constexpr int KEY_DELETE = 264;
constexpr int KEY_TAB = 265;
constexpr int KEY_BACKTAB = 266;
constexpr int KEY_PGUP = 267;
constexpr int KEY_PGDN = 268;
constexpr int KEY_HOME = 269;
constexpr int KEY_END = 270;
constexpr int KEY_INSERT = 271;
constexpr int KEY_F1 = 300;
constexpr int KEY_F2 = 301;
constexpr int KEY_F3 = 302;
constexpr int KEY_F4 = 303;
constexpr int KEY_F5 = 304;
constexpr int KEY_F6 = 305;
constexpr int KEY_F7 = 306;
constexpr int KEY_F8 = 307;
constexpr int KEY_F9 = 308;
constexpr int KEY_F10 = 309;
constexpr int KEY_ESC_ESC = 400;   // ESC ESC
constexpr int KEY_ESC_QUERY = 401; // ESC "?"
constexpr int KEY_ESC_SLASH = 402; // ESC "/"

// Control keys come as their own bytes.
constexpr int KEY_CTRL_A = 1;
constexpr int KEY_CTRL_D = 4;
constexpr int KEY_CTRL_E = 5;
constexpr int KEY_CTRL_G = 7;
constexpr int KEY_CTRL_H = 8; // Backspace on many terminals
constexpr int KEY_CTRL_I = 9; // the Tab byte
constexpr int KEY_CTRL_J = 10;
constexpr int KEY_CTRL_K = 11;
constexpr int KEY_CTRL_L = 12;
constexpr int KEY_CTRL_M = 13; // Return
constexpr int KEY_CTRL_O = 15;
constexpr int KEY_CTRL_R = 18;
constexpr int KEY_CTRL_T = 20;
constexpr int KEY_CTRL_W = 23;
constexpr int KEY_CTRL_Z = 26;
constexpr int KEY_ESCAPE = 27;

// The key scheme shared by every screen and dialog: 1 when key is one of
// Return or Ctrl-J; F6 or Ctrl-G (save); ESC, F5 or Ctrl-D (cancel); Ctrl-L
// or Ctrl-R (repaint), else 0.
inline int key_is_enter(int key) {
    return key == KEY_CTRL_M || key == KEY_CTRL_J;
}
inline int key_is_save(int key) {
    return key == KEY_F6 || key == KEY_CTRL_G;
}
inline int key_is_cancel(int key) {
    return key == KEY_ESCAPE || key == KEY_F5 || key == KEY_CTRL_D;
}
inline int key_is_repaint(int key) {
    return key == KEY_CTRL_L || key == KEY_CTRL_R;
}

// ---- capabilities.cpp: the capability table and the key table ------------------------
// Every capability the program reads, by its index in term_capabilities,
// which gives each its name, type, reader and fallback. Call sites use these
// indexes, so that the names are spelled in one file only. The standard
// termcap names (CAP_STD_...) serve where this program's own are absent.
// clang-format off
enum TermCap : int {
    // cursor motion and screen
    CAP_CM, CAP_BC, CAP_BS, CAP_UP, CAP_CL, CAP_LI, CAP_AW, CAP_NE,
    // cursor visibility
    CAP_CN, CAP_CO, CAP_AB, CAP_CF, CAP_STD_VE, CAP_STD_VI,
    // keypad transmit mode
    CAP_STD_KS, CAP_STD_KE,
    // line drawing, in LineString order
    CAP_GS, CAP_GE, CAP_GH, CAP_GV, CAP_GC, CAP_GL, CAP_GD, CAP_GR, CAP_GU,
    CAP_G1, CAP_G2, CAP_G3, CAP_G4,
    CAP_STD_AS, CAP_STD_AE, CAP_STD_AC, CAP_STD_EA,
    // display attributes: the sixteen combinations in attribute-bit order
    CAP_NORM, CAP_REV, CAP_BLINK, CAP_BLINK_REV, CAP_BOLD, CAP_BOLD_REV,
    CAP_BOLD_BLINK, CAP_BOLD_BLINK_REV, CAP_UND, CAP_UND_REV, CAP_UND_BLINK,
    CAP_UND_BLINK_REV, CAP_UND_BOLD, CAP_UND_BOLD_REV, CAP_UND_BOLD_BLINK,
    CAP_UND_BOLD_BLINK_REV,
    CAP_SE, CAP_SO,
    CAP_STD_ME, CAP_STD_MR, CAP_STD_MB, CAP_STD_MD, CAP_STD_US,
    // keys
    CAP_KL, CAP_KR, CAP_KU, CAP_KD, CAP_KB, CAP_DK, CAP_DK2, CAP_AL, CAP_TA,
    CAP_BT, CAP_PU, CAP_PD, CAP_HO, CAP_EN,
    CAP_K0, CAP_K1, CAP_K2, CAP_K3, CAP_K4, CAP_K5, CAP_K6, CAP_K7, CAP_K8, CAP_K9,
    CAP_FS,
    CAP_STD_KH, CAP_STD_END, CAP_STD_KP, CAP_STD_KN, CAP_STD_KI, CAP_STD_KD,
    // links between entries
    CAP_TC,
    CAP_COUNT
};
// clang-format on

// One row of the capability table.
struct TermCapability {
    TermCap cap;          // its own index: the table is checked against the enum
    const char *name;     // as spelled in a description
    char type;            // 'B' boolean, 'N' number, 'S' string
    const char *reader;   // who reads it
    const char *fallback; // what serves when it is absent
};
extern const TermCapability term_capabilities[CAP_COUNT]; // in TermCap order

// The key table that key_init walks, in binding order. Priorities decide
// between bindings of the same bytes: a later binding replaces an earlier one
// of equal or lower priority and loses to one of higher priority. The single
// bytes are 0 (so any key claims its byte, and a default yields to what the
// description binds), editing keys 1, the fixed ESC pairs 2, function keys 3
// (so an F key that sends ESC "?" stays F) and the arrows 4 (so an arrow that
// sends byte 8 stays an arrow with "bs").
enum KeyRule : int {
    KEY_RULE_CAP,        // the capability's sequence, if present; starts a group
    KEY_RULE_ELSE,       // the capability's sequence, if its group bound nothing yet
    KEY_RULE_BYTES,      // the fixed bytes; starts a group
    KEY_RULE_BYTES_IF,   // the fixed bytes, when the boolean capability is present
    KEY_RULE_BYTES_ELSE, // the fixed bytes, if their group bound nothing yet
    KEY_RULE_FKEYS,      // F1 to F10 from k0..k9, numbered by FS
};
// One row of the key table.
struct KeySource {
    KeyRule rule;      // how the row binds, as above
    TermCap cap;       // the capability read (CAP_COUNT for fixed bytes)
    const char *bytes; // the fixed bytes of the BYTES rules
    int code;          // the key code (KEY_RULE_FKEYS: that of F1)
    int priority;      // 0 to 4, as above
};
extern const KeySource key_table[];
extern const int key_table_size; // rows in key_table

// tc_flag, tc_num and tc_str of a capability of the table, by its index.
int tc_cap_flag(TermCap cap);
int tc_cap_num(TermCap cap);
const char *tc_cap_str(TermCap cap);

// ---- description.cpp: finding, loading and reading a description ------------------
// The terminal's state across the run: its type and the two line modes.
struct TermState {
    const char *term_name;    // the environment variable's own value
    struct termio saved_mode; // the mode found at start, put back on every way out
    struct termio work_mode;  // the mode while the program runs (raw mode is set here)
};

// Whether loading a description also reads the terminal's line mode.
constexpr int TERM_KEEP_MODE = 0; // leaves state's modes alone (tools and tests)
constexpr int TERM_SAVE_MODE = 1; // reads it into saved_mode and work_mode
// Loads the description of the type named by AVTERM, QXTERM or TERM, with
// TERM_SAVE_MODE or TERM_KEEP_MODE. 0 loaded; -1 no type set; -2 none found.
int term_init(int save_mode, TermState *state);
// The rest of term_init once the type is chosen: loads the description of
// name (state->term_name is left alone), then reads the mode as term_init.
int term_load_description(int save_mode, TermState *state, const char *name);
// The description files tc_load searches, in order; returns how many.
constexpr int TC_PLACES_MAX = 5;
int tc_search_places(const char *places[TC_PLACES_MAX]);
// Searches the description files (a TERMCAP that is not a path is
// ignored), then the compiled terminfo database (only when no AVTERMCAP or
// QXTERMCAP pins the search); 1 found, 0 not.
int tc_load(const char *name);
// 1 when AVTERMCAP or QXTERMCAP names the one file to search: nothing else
// is then tried.
int tc_search_pinned();
// Loads the entry named name from the regular file at path, following its
// "tc" links in the same file; 1 loaded, 0 not (or the file cannot be read).
int tc_read_entry(const char *path, const char *name);
// Loads the entry given as text (continuation lines allowed) when its names
// include name, following its "tc" links within the text; 1 loaded, 0 not.
int tc_read_entry_text(const char *text, const char *name);
// The same over an open description (read from its start; rewound for links).
int tc_read_entry_stream(FILE *file, const char *name);
// 1 when the loaded entry had more "tc" links than are followed (the rest of
// its capabilities are missing), else 0.
int tc_links_cut();
// Where the value of the first field of the loaded entry that starts with name
// begins (just after the name); -1 when there is none.
int tc_find(const char *name);
int tc_flag(const char *name); // 1 when the entry has the boolean, else 0
int tc_num(const char *name);  // the number ("li#24"); -1 when absent or malformed
// The string with its escapes decoded, in the description's string area (kept
// until term_reset); nullptr when absent.
const char *tc_str(const char *name);

// ---- family.cpp: the family fallback ---------------------------------------------------
// Start-up's way out of term_init's -2: loads the first description found
// for the type's family names, cutting state->term_name at its last "-", "."
// or "+" again and again. 0 loaded; -2 none found.
int term_init_family(int save_mode, TermState *state);

// ---- terminfo.cpp: the compiled terminfo database ----------------------------------------
// The type's compiled terminfo entry as description text (continued lines,
// under this program's capability names) in buffer: its length, or -1.
int tc_terminfo_entry(const char *name, char *buffer, size_t size);

// ---- output.cpp: terminal output ---------------------------------------------------------
// Indexes of the line-drawing strings, in lookup order.
enum LineString {
    LS_GS, // enters line drawing
    LS_GE, // leaves it
    LS_GH, // horizontal line
    LS_GV, // vertical line
    LS_GC, // cross
    LS_GL, // tee joining left, up and down: on a box's right side
    LS_GD, // tee joining left, right and down: on a top side
    LS_GR, // tee joining right, up and down: on a left side
    LS_GU, // tee joining left, right and up: on a bottom side
    LS_G1, // upper right corner
    LS_G2, // upper left corner
    LS_G3, // lower left corner
    LS_G4, // lower right corner
    LS_COUNT
};

// Parses a cursor-addressing template given in decoded form (as tc_str
// returns it) into the template term_goto expands; term_init does this with
// "cm". 0 when usable, -1 when not (term_goto then gives "('cm' error)").
int term_parse_cursor(const char *cm);

// The cursor-left string: "bc", a backspace with "bs", "kl", else "(BC)".
const char *term_bc_string();
// The cursor-up string: "up", "ku", else "(UP)".
const char *term_up_string();
// The text that moves the cursor to (row, column) by the parsed "cm" (column 79
// by way of 78); it lasts until the next call.
const char *term_goto(int row, int column);
// Settles the clear, cursor, keypad and line-drawing strings of the loaded
// description; once, before the screen is drawn.
void term_screen_strings();
const char *term_line_string(int which); // LineString index; "" before term_screen_strings
void term_cursor_on();                   // shows the cursor; nothing sent without both strings
void term_cursor_off();                  // hides it
// The keypad-transmit mode (ks, ke) that the key table was read for: on
// once raw mode is set, off before the mode is put back. Nothing is sent
// when the description lacks either string.
void term_keypad_on();
void term_keypad_off();
// The string that sets exactly the display attributes of bits (ATTR_REV 1,
// blink 2, bold 4, underline 8) from any others; "" when there is none.
const char *term_attribute_string(int bits);
// Sends the cursor visibility last set again, after something else (a stop
// and continue) may have changed it.
void term_cursor_again();
void term_clear(); // clears the screen: "cl", else enough newlines to scroll all away
int term_lines();  // the screen's lines ("li"), or -1
// 1 when writing the last column wraps: "aw" when given, else 1 up to 24 lines.
int term_auto_margin();
void term_beep(); // the bell byte, straight to standard output
// Every byte for the terminal but the bell leaves through here: fd 1 for the
// screen, fd 2 for the immediate cursor motion, with one write per call.
void term_write(int fd, const char *bytes, size_t length);
// Tests and fuzzing catch the output in memory; nullptr writes to the fds.
using TermWriteFn = void (*)(int fd, const char *bytes, size_t length);
void term_set_writer(TermWriteFn fn);
// The terminal as at start, as a normal exit leaves it: cleared, cursor on,
// the saved mode back and the "Ab" tail. Async-signal-safe once
// term_screen_strings has run, for the handlers that end or stop the program.
void term_leave(const TermState *state);

// ---- locale.cpp: the character set of the locale ------------------------------------------
// 1 when the locale (LC_ALL, else LC_CTYPE, else LANG) names UTF-8, else 0.
// Read from the environment once; term_set_utf8_locale overrides it (-1
// reads the environment again), for tests and fuzzing.
int term_utf8_locale();
void term_set_utf8_locale(int utf8);

// ---- keys.cpp: raw mode and keyboard input --------------------------------------------------
// Raw mode into state->work_mode: no echo, line editing, interrupt or quit key;
// reads wait for min_chars bytes or a pause of tenths; keypad on. 0, or -1.
int term_raw_mode(TermState *state, unsigned char min_chars, unsigned char tenths);
// Keypad off and the saved mode back (work_mode with it); not the screen.
void term_restore(TermState *state);
// Builds the key table: every single byte as itself, then key_bindings' bindings.
void key_init();
// Binds sequence to code unless a binding of higher priority holds it; its
// node, or -1 (empty sequence, table full, or outranked).
int key_bind(const char *sequence, int priority, int code);
// One binding that key_init makes for the loaded description.
struct KeyBinding {
    const char *sequence; // the bytes the key sends
    int code;             // the key code key_read returns for them
    int priority;         // as in the key table
    int cap;              // the capability it comes from, or -1 for fixed bytes
};
// The bindings key_init makes after the single bytes, in its order, as the
// key table yields them for the loaded description. Returns how many (at
// most max are stored). Tests and the description dump read them here.
int key_bindings(KeyBinding *out, int max);
// Which capability is function key F1 + index for the loaded description,
// or -1 when none is: FS numbers them (k0 is F1 without it).
int key_function_cap(int index);

// Waits for and returns the next key: its code, or the byte itself; an unbound
// sequence rings the bell and is skipped.
int key_read();
// What key_read_any returns for a complete key sequence that the table does
// not bind; key_read itself rings the bell for one and reads on.
constexpr int KEY_UNBOUND = 499;
// key_read for a "press any key" prompt, where every key closes: the same
// codes, and KEY_UNBOUND for an unbound sequence instead of a bell.
int key_read_any();

// Called by key_read when the terminal reports end of file or an error (it
// has hung up). The handler is expected not to return (it ends the process);
// with no handler, or if it returns, the process exits with status 255
// rather than reading again forever.
using HangupFn = void (*)();
void key_on_hangup(HangupFn handler);

// A signal handler that found the terminal changed under the program (after
// a stop and continue) calls key_request_resume (async-signal-safe); key_read
// then runs the resume handler from the main flow before it reads on.
using ResumeFn = void (*)();
void key_on_resume(ResumeFn handler);
void key_request_resume();
// Where key_read takes its bytes: read(0, ...) unless tests or fuzzing give
// a source of their own (same results as read: count, 0 at end, -1 error).
using KeySourceFn = long (*)(unsigned char *buffer, size_t size);
void key_set_source(KeySourceFn fn);

// Forgets the loaded description, string area, output strings, key table and
// buffered input, as at process start. For tests and fuzzing only: the
// program itself never reloads.
void term_reset();
