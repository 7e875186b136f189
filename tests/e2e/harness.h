// End-to-end harness: runs a real program in a pseudo-terminal, types keys as
// a person does, and reads the screen through libvterm.
//
// Usage (ready; see app_harness_test.cpp and app_menu_test.cpp for examples):
//   std::string root = harness_new_root();          // prepare files under it first
//   HarnessOptions o; o.root = root;                 // o.args, o.env, o.as_root as needed
//   Harness *h = harness_start(o); ASSERT_NE(h, nullptr);
//   ASSERT_TRUE(harness_wait_text(h, "Configuration Program"));
//   harness_key(h, "Down"); harness_type(h, "X"); harness_wait_quiet(h);
//   EXPECT_EQ(harness_row(h, 3).substr(10, 20), "...");
//   EXPECT_EQ(harness_wait_exit(h), 0); EXPECT_TRUE(harness_mode_unchanged(h));
//   harness_stop(h);                                 // always, also after exit
// Each run gets its own mount namespace with the root bind-mounted over
// AV_PRODUCT_ROOT, so tests may run in parallel and never touch a real
// installation. The environment is only what o.env gives, plus TERM=xterm
// (an entry "TERM" without '=' leaves TERM unset). No PATH unless given.
// Screen text: ASCII as is; the line-drawing set (ESC ( 0) shows as UTF-8
// box-drawing characters: "\u2500" horizontal, "\u2502" vertical, corners
// "\u250c" "\u2510" "\u2514" "\u2518", tees "\u251c" "\u2524" "\u252c" "\u2534",
// cross "\u253c"; such a character takes 3 bytes in a row string, so compare
// rows with u8 literals, or use harness_row_plain, which keeps byte columns.
// Run e2e tests as root (they need mount namespaces).
#pragma once

#include <string>
#include <utility>
#include <vector>

struct HarnessOptions {
    std::string program;           // path of the binary (default: the built avconfig)
    std::vector<std::string> args; // argv[1..]
    std::vector<std::string> env;  // "NAME=value"; TERM=xterm is added unless given
    std::string root;              // directory mounted at the product root for this run
                                   // (empty: a fresh temporary root with the shipped termdef)
    bool as_root = true;           // false: run with a non-root real user (nobody)
    int key_pause_ms = 120;        // pause after each key, so that bursts separate
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
// Waits until the screen shows text somewhere, then until output is quiet;
// false on timeout.
bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms = 5000);

// Screen reading (after harness_wait_quiet).
std::string harness_row(Harness *h, int row); // 80 characters, trailing blanks kept
std::string harness_screen(Harness *h);       // 24 rows joined by '\n'
// Exactly 80 bytes: box-drawing characters become '-' (horizontal), '|'
// (vertical) or '+' (corners, tees, cross), other non-ASCII becomes '?'.
std::string harness_row_plain(Harness *h, int row);
bool harness_reverse(Harness *h, int row, int column); // the cell is in reverse video
std::pair<int, int> harness_cursor(Harness *h);        // (row, column)
bool harness_cursor_visible(Harness *h);
int harness_bells(Harness *h);                 // BEL bytes seen so far
const std::string &harness_output(Harness *h); // every byte the program wrote

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
