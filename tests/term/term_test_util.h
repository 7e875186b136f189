// Helpers shared by the terminal library's tests.
#pragma once

#include "term/term.h"
#include "test_util.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

// Loads entry "name" afresh as the program does, reading the mode into state if given.
inline int load_entry(const std::string &text, const char *name = "t", TermState *state = nullptr) {
    term_reset();
    // Line strings as the description gives them, whatever the locale.
    term_set_utf8_locale(0);
    unsetenv("AVLINES");
    std::string path = temp_file(text);
    setenv("AVTERMCAP", path.c_str(), 1);
    setenv("AVTERM", name, 1);
    TermState local{};
    int result = term_init(state ? TERM_SAVE_MODE : TERM_KEEP_MODE, state ? state : &local);
    unlink(path.c_str());
    key_init();
    return result;
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
