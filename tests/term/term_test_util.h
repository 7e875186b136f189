// Helpers shared by the terminal library's tests.
#pragma once

#include "term/term.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

inline std::string write_termcap(const std::string &text) {
    char path[] = "/tmp/avterm_test_XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0 || write(fd, text.data(), text.size()) < 0)
        return "";
    close(fd);
    return path;
}

// Loads entry "name" afresh as the program does, reading the mode into state if given.
inline int load_entry(const std::string &text, const char *name = "t", TermState *state = nullptr) {
    term_reset();
    std::string path = write_termcap(text);
    setenv("AVTERMCAP", path.c_str(), 1);
    setenv("AVTERM", name, 1);
    TermState local{};
    int result = term_init(state != nullptr, state ? state : &local);
    unlink(path.c_str());
    key_init();
    return result;
}

// Runs fn with file descriptor 1 going into a pipe and returns the bytes.
template <typename Fn> std::string capture_stdout(Fn fn) {
    int fds[2], saved = dup(1);
    if (pipe(fds) != 0)
        return "<pipe failed>";
    fflush(stdout);
    dup2(fds[1], 1);
    close(fds[1]);
    fn();
    fflush(stdout);
    dup2(saved, 1);
    close(saved);
    std::string out;
    char buf[512];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;)
        out.append(buf, static_cast<size_t>(n));
    close(fds[0]);
    return out;
}

// Feeds the bytes as one burst on file descriptor 0 and reads count keys.
inline std::vector<int> read_keys(const std::string &bytes, size_t count) {
    int fds[2];
    if (pipe(fds) != 0 || write(fds[1], bytes.data(), bytes.size()) < 0)
        return {};
    close(fds[1]);
    dup2(fds[0], 0);
    close(fds[0]);
    std::vector<int> keys;
    while (keys.size() < count)
        keys.push_back(key_read());
    return keys;
}
