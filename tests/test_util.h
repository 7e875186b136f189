// Helpers shared by the unit and end-to-end tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <cctype>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

// What file_bytes gives for a file that cannot be read.
inline const std::string ABSENT = "<absent>";

inline std::string file_bytes(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return in ? s.str() : ABSENT;
}

// The names in dir that start with prefix (".": temporary files left behind).
inline std::vector<std::string> files_starting(const std::string &dir, const std::string &prefix) {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator(dir))
        if (entry.path().filename().string().starts_with(prefix))
            names.push_back(entry.path().filename());
    return names;
}

// A new file under /tmp holding bytes; the caller removes it.
inline std::string temp_file(const std::string &bytes) {
    char path[] = "/tmp/avtest_XXXXXX";
    int fd = mkstemp(path);
    if (fd < 0 || write(fd, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
        return "";
    close(fd);
    return path;
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

// Names a parameterized case after its `what` ("edit: own name only" gives
// "edit_own_name_only"), so that ctest -R picks one scenario.
struct CaseName {
    template <typename Case>
    std::string operator()(const testing::TestParamInfo<Case> &info) const {
        std::string name;
        for (const char *c = info.param.what; *c != '\0'; c++)
            if (isalnum(static_cast<unsigned char>(*c)))
                name += (name.empty() || isalnum(static_cast<unsigned char>(c[-1])) ? "" : "_") +
                        std::string(1, *c);
        return name;
    }
};
