// A widget run in-process on a terminal that lives in memory: a description
// loaded from text, every byte for the terminal caught (widget_sent), the
// bells counted, and keys handed to key_read from a script. The widget tests
// add a screen model on top (widget_screen.h); the fuzz targets that draw
// check the window cells and the caught bytes directly. Header-only, so that
// the fuzz targets need nothing linked beyond the libraries.
#pragma once

#include <cstdio>
#include <cstring>
#include <string>

#include "term/term.h"
#include "term/term_internal.h"
#include "win/win.h"

// Every byte for the terminal but the bell, fd 1 (screen) and fd 2 (the
// immediate cursor motion) in the order written.
inline std::string widget_sent;
// Bells rung since widget_terminal.
inline int widget_bells;
// Where whatever else goes to the standard output stream is passed on
// (nullptr: dropped). Tests keep their own output; the fuzz targets drop it.
inline FILE *widget_stdout_through;

inline void widget_catch(int, const char *bytes, size_t length) {
    widget_sent.append(bytes, length);
}

// The bell is written to the standard output stream and flushed at once.
// That stream is swapped, once per process, for one that counts bells (and
// costs no system call, which fuzzing would feel).
inline void widget_count_bells(FILE *through) {
    static FILE *counter = nullptr;
    if (through != counter) // stdout is the counter itself after the first call
        widget_stdout_through = through;
    if (counter != nullptr)
        return;
    cookie_io_functions_t io = {};
    io.write = [](void *, const char *bytes, size_t size) {
        for (size_t i = 0; i < size; i++)
            widget_bells += bytes[i] == '\a';
        if (widget_stdout_through != nullptr && !(size == 1 && bytes[0] == '\a')) {
            fwrite(bytes, 1, size, widget_stdout_through);
            fflush(widget_stdout_through);
        }
        return static_cast<ssize_t>(size);
    };
    counter = fopencookie(nullptr, "w", io);
    if (counter == nullptr)
        __builtin_trap();
    setvbuf(counter, nullptr, _IONBF, 0);
    stdout = counter;
}

// ---- the scripted key source --------------------------------------------------
// The bytes still to type, handed out at most `burst` at a time (as the reads
// of a terminal would group them). When they run out, widget_starved is
// asked for more; without one, a single "x" is handed out in a read of its
// own and widget_keys_finished set: once the reader has returned that key,
// nothing is left buffered.
inline const unsigned char *widget_keys_at;
inline size_t widget_keys_left;
inline size_t widget_keys_burst = 1;
inline bool widget_keys_finished;
// Refills widget_keys_at/widget_keys_left (or ends the run its own way) and
// returns what the read returns.
using WidgetStarvedFn = long (*)(unsigned char *buffer, size_t room);
inline WidgetStarvedFn widget_starved;

inline long widget_key_source(unsigned char *buffer, size_t room) {
    if (widget_keys_left == 0) {
        if (widget_starved != nullptr)
            return widget_starved(buffer, room);
        buffer[0] = 'x';
        widget_keys_finished = true;
        return 1;
    }
    size_t n = widget_keys_left < room ? widget_keys_left : room;
    if (n > widget_keys_burst)
        n = widget_keys_burst;
    memcpy(buffer, widget_keys_at, n);
    widget_keys_at += n;
    widget_keys_left -= n;
    return static_cast<long>(n);
}

// Types size bytes from keys in reads of at most burst bytes.
inline void widget_type(const void *keys, size_t size, size_t burst) {
    widget_keys_at = static_cast<const unsigned char *>(keys);
    widget_keys_left = size;
    widget_keys_burst = burst > 0 ? burst : 1;
    widget_keys_finished = false;
    key_set_source(widget_key_source);
}

// ---- the terminal -------------------------------------------------------------------
// Loads the entry `name` from description text (links to other entries of
// the same text are followed) and sets the terminal up as the session does:
// output strings, key table, a blank screen. Output is caught from then on,
// bells counted and passed-through output sent to through. 0, or -1 when the
// entry cannot be loaded.
inline int widget_terminal(const char *description, size_t length, const char *name,
                           FILE *through) {
    term_reset();
    FILE *file = fmemopen(const_cast<char *>(description), length, "r");
    if (file == nullptr)
        return -1;
    int loaded = tc_read_entry_stream(file, name);
    fclose(file);
    if (loaded != 1)
        return -1;
    // The same keys must give the same bytes (and the same line strings)
    // whatever the machine's locale.
    term_set_utf8_locale(0);
    unsetenv("AVLINES");
    term_settle_motion();
    term_screen_strings();
    key_init();
    term_set_writer(widget_catch);
    widget_count_bells(through);
    key_set_source(widget_key_source);
    term_blank_screen();
    widget_sent.clear();
    widget_bells = 0;
    return 0;
}
