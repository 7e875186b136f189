// End-to-end harness: runs a real program in a pseudo-terminal, types keys as
// a person does, and reads the screen through libvterm.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct HarnessOptions {
    std::string program;                  // path of the binary (default: the built avconfig)
    std::vector<std::string> args;        // argv[1..]
    std::vector<std::string> env;         // "NAME=value"; TERM=xterm is added unless given
    std::string root;                     // directory mounted at the product root for this run
                                          // (empty: a fresh temporary root with the shipped termdef)
    bool as_root = true;                  // false: run with a non-root real user (nobody)
    int key_pause_ms = 120;               // pause after each key, so that bursts separate
};

struct Harness; // opaque

// A fresh product root for one test, inside the build tree: the shipped
// termdef at <root>/termdef and an empty <root>/conduvia/config directory.
std::string harness_new_root();

// Starts the program; returns nullptr (and fails the current test) on error.
Harness *harness_start(const HarnessOptions &options);
// Kills the program if it still runs and frees everything.
void harness_stop(Harness *h);

// Sends raw bytes as one burst (one write), then pauses key_pause_ms.
void harness_send(Harness *h, const std::string &bytes);
// Sends each byte of text as its own key (one write per byte, pause after each).
void harness_type(Harness *h, const std::string &text);
// Named keys, the bytes an xterm sends: "Up" "Down" "Left" "Right" "Home" "End"
// "PgUp" "PgDn" "Delete" "Insert" "Backspace" "Tab" "BackTab" "Enter" "Esc"
// "F1".."F10" "Ctrl-A".."Ctrl-Z". Unknown names fail the test.
void harness_key(Harness *h, const std::string &name);

// Reads output until nothing arrives for quiet_ms (or timeout_ms passes).
void harness_wait_quiet(Harness *h, int quiet_ms = 150, int timeout_ms = 5000);
// Waits until the screen shows text somewhere; false on timeout.
bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms = 5000);

// Screen reading (after harness_wait_quiet).
std::string harness_row(Harness *h, int row);             // 80 characters, trailing blanks kept
std::string harness_screen(Harness *h);                   // 24 rows joined by '\n'
bool harness_reverse(Harness *h, int row, int column);    // the cell is in reverse video
std::pair<int, int> harness_cursor(Harness *h);           // (row, column)
bool harness_cursor_visible(Harness *h);
int harness_bells(Harness *h);                            // BEL bytes seen so far
const std::string &harness_output(Harness *h);            // every byte the program wrote

// Waits for the program to end; returns its exit status (0..255), 128+signal
// when killed by a signal, or -1 on timeout.
int harness_wait_exit(Harness *h, int timeout_ms = 5000);
// Closes the terminal's master side, as a hang-up does.
void harness_hangup(Harness *h);
// Terminal mode of the pseudo-terminal as the program left it (valid after exit),
// and as it was set before the program started.
bool harness_mode_unchanged(Harness *h);

// The product root the program sees (files to prepare and to check).
const std::string &harness_root(Harness *h);
