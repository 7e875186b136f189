// Helpers shared by the terminal library's tests.
#pragma once

#include "term/term.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

// Writes a description file into a fresh temporary path and returns it.
inline std::string write_termcap(const std::string &text) {
    char path[] = "/tmp/avterm_test_XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0)
        return "";
    ssize_t n = write(fd, text.data(), text.size());
    (void)n;
    close(fd);
    return path;
}

// Loads the entry "name" from the given description text, the way the
// program does: AVTERMCAP names the file and AVTERM the type.
inline int load_entry(const std::string &text, const char *name = "t") {
    std::string path = write_termcap(text);
    setenv("AVTERMCAP", path.c_str(), 1);
    setenv("AVTERM", name, 1);
    TermState state{};
    int result = term_init(0, &state);
    unlink(path.c_str());
    return result;
}

// Runs fn with file descriptor 1 going into a pipe and returns the bytes.
template <typename Fn> std::string capture_stdout(Fn fn) {
    fflush(stdout);
    int fds[2];
    if (pipe(fds) != 0)
        return "<pipe failed>";
    int saved = dup(1);
    dup2(fds[1], 1);
    close(fds[1]);
    fn();
    fflush(stdout);
    dup2(saved, 1);
    close(saved);
    std::string out;
    char buf[512];
    ssize_t n;
    while ((n = read(fds[0], buf, sizeof buf)) > 0)
        out.append(buf, static_cast<size_t>(n));
    close(fds[0]);
    return out;
}

// Sets each variable to its value, or unsets it for a null value.
inline void set_env(const std::vector<const char *> &vars, const std::vector<const char *> &vals) {
    for (size_t i = 0; i < vars.size(); ++i) {
        if (vals[i])
            setenv(vars[i], vals[i], 1);
        else
            unsetenv(vars[i]);
    }
}

// Makes file descriptor 0 a pipe that holds the bytes (one burst, then end
// of input) and returns the first count keys key_read gives for them.
inline std::vector<int> read_keys(const std::string &bytes, size_t count) {
    int fds[2];
    if (pipe(fds) != 0)
        return {};
    ssize_t n = write(fds[1], bytes.data(), bytes.size());
    (void)n;
    close(fds[1]);
    dup2(fds[0], 0);
    close(fds[0]);
    std::vector<int> keys;
    for (size_t i = 0; i < count; ++i)
        keys.push_back(key_read());
    return keys;
}
