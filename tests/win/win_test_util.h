// Helpers for the window library's tests: a readable terminal description
// (data/termdef) and capture of what the library writes on fds 1 and 2.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "term/term.h"
#include "win/win.h"

// Runs f with descriptor fd sent into a pipe and returns what was written.
// The descriptor is redirected only around f, so test output stays visible.
template <typename F> std::string capture_fd(int fd, F f) {
    fflush(stdout);
    int p[2];
    if (pipe(p) != 0)
        return "<pipe failed>";
    fcntl(p[1], F_SETPIPE_SZ, 1 << 20);
    fcntl(p[0], F_SETFL, O_NONBLOCK);
    int saved = dup(fd);
    dup2(p[1], fd);
    f();
    dup2(saved, fd);
    close(saved);
    close(p[1]);
    std::string out;
    char buffer[4096];
    for (ssize_t n; (n = read(p[0], buffer, sizeof buffer)) > 0;)
        out.append(buffer, static_cast<size_t>(n));
    close(p[0]);
    return out;
}

template <typename F> std::string sent(F f) {
    return capture_fd(1, f);
}

// Loads terminal `name` and blanks image and terminal, as start-up does.
inline void start_screen(const char *name = "test") {
    unsetenv("AVTERM");
    unsetenv("QXTERM");
    setenv("AVTERMCAP", AV_TEST_DATA_DIR "/termdef", 1);
    setenv("TERM", name, 1);
    TermState state{};
    ASSERT_EQ(term_init(0, &state), 0) << name;
    term_screen_strings();
    sent([] { term_blank_screen(); });
}

inline const Cell &cell_at(int id, int row, int column) {
    Window *w = win_lookup(id);
    return w->cells[row * w->columns + column];
}

// Characters of a window row (the screen image for id 0).
inline std::string row_text(int id, int row) {
    std::string s;
    for (int x = 0; x < win_lookup(id)->columns; x++)
        s += static_cast<char>(cell_at(id, row, x).character);
    return s;
}

// Number of windows that can still be created (they are destroyed again).
inline int free_window_count() {
    int ids[WIN_MAX_IDS];
    int n = 0;
    while (n < WIN_MAX_IDS && (ids[n] = win_create(-1, "probe", 0, 0, 1, 1)) >= 0)
        n++;
    for (int i = n - 1; i >= 0; i--)
        win_destroy(ids[i]);
    return n;
}
