// End-to-end harness: runs a real program in a 24x80 pseudo-terminal, types
// keys as a person does, and reads the screen through libvterm. Each run gets
// its own mount namespace with the root bind-mounted over AV_PRODUCT_ROOT, so
// tests (run as root) may run in parallel and never touch a real installation.
#pragma once

#include <string>
#include <utility>
#include <vector>

struct HarnessOptions {
    std::string program{};           // default: harness_command()
    std::vector<std::string> args{}; // argv[1..]
    std::vector<std::string> env{};  // the whole environment, plus TERM=xterm
                                     // unless given ("TERM" alone: no TERM)
    std::string root{};              // empty: a fresh harness_new_root()
    bool as_root = true;             // false: run as user nobody
    bool record_stty = false;        // keep `stty -a` of the terminal before the start
    bool watch_child = false;        // the program is the started shell's job (or a
                                     // wrapper's child in it): wait for that
                                     // process to be idle, not the shell
};

struct Harness; // opaque

// The program under test as a command: $AV_E2E_PROGRAM (the same program
// built for 32-bit x86), run through the emulator AV_E2E_RUNNER with
// termio_shim.c where this machine cannot run it itself; else the avconfig
// of this build.
std::vector<std::string> harness_command();
// True when that command runs the program through the emulator.
bool harness_emulated();
// For a child about to become another user: when the build tree lies in a
// directory others cannot search, gives this process a mount namespace in
// which it can. 0, or -1 on failure.
int harness_open_to_others();
// A fresh product root: the shipped termdef and an empty conduvia/config.
std::string harness_new_root();
// nullptr (and a failed test) if it cannot start; a failed exec shows why on
// the terminal and exits 127.
Harness *harness_start(const HarnessOptions &options);
void harness_stop(Harness *h); // always; kills the program if it still runs

// Every sending call waits until the program is idle (see harness_wait_idle)
// before it writes and again after.
void harness_send(Harness *h, const std::string &bytes); // one write
void harness_type(Harness *h, const std::string &text);  // each byte a key
// xterm bytes for "Up" "Down" "Left" "Right" "Home" "End" "PgUp" "PgDn" "Delete" "Insert"
// "Backspace" "Tab" "BackTab" "Enter" "Esc" "F1".."F10" "Ctrl-A".."Ctrl-Z"; others fail.
void harness_key(Harness *h, const std::string &name);
// A key script: "{Name}" is a named key as above, any other byte is typed.
// Keys go in as few writes as the key decoding allows (an Escape alone).
void harness_keys(Harness *h, const std::string &script);

// Reads output until the program has taken in everything sent, sleeps reading
// the terminal again (or is stopped, or has exited) and all its output is in.
// False when that does not happen within timeout_ms.
bool harness_wait_idle(Harness *h, int timeout_ms = 10000);
// Waits until the screen shows text, then until the program is idle; false on timeout.
bool harness_wait_text(Harness *h, const std::string &text, int timeout_ms = 5000);
// Waits until the watched process is stopped (job control); true when it is.
// Shells differ on whether they say "Stopped", so tests ask the process.
bool harness_wait_stopped(Harness *h, int timeout_ms = 5000);

// 80 characters; line pieces as UTF-8 box-drawing characters (3 bytes each).
std::string harness_row(Harness *h, int row);
std::string harness_screen(Harness *h); // 24 rows joined by '\n'
// 80 bytes: '-' horizontal, '|' vertical, '+' other line pieces, '?' other non-ASCII.
std::string harness_row_plain(Harness *h, int row);
bool harness_reverse(Harness *h, int row, int column);
std::pair<int, int> harness_cursor(Harness *h); // (row, column)
bool harness_cursor_visible(Harness *h);
// The title, the other properties set so far (alternate screen, mouse, ...)
// and the bytes the Up and keypad 1 keys now send (cursor and keypad modes).
std::string harness_terminal_modes(Harness *h);
int harness_bells(Harness *h);                 // BEL bytes seen so far
int harness_pid(Harness *h);                   // the program's process
const std::string &harness_output(Harness *h); // every byte the program wrote

// Exit status (0..255), 128+signal when killed, or -1 on timeout.
int harness_wait_exit(Harness *h, int timeout_ms = 5000);
void harness_hangup(Harness *h); // closes the master side
// The terminal mode after exit equals the one set before the start.
bool harness_mode_unchanged(Harness *h);
void harness_signal(Harness *h, int signal_number); // to the started program
// `stty -a` of the program's terminal now, and as recorded before the start.
std::string harness_stty(Harness *h);
const std::string &harness_stty_before(Harness *h);
