// The one-session lock: no other user can take it, and a stopped session
// leaves a mark in it that a session kept out can report.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <ctime>

#include "e2e_helpers.h"

using namespace e2e;

namespace {

// A child process as user nobody that tries what a user could do against
// the lock and keeps what it got until killed. The pipe says what it got.
struct UserHolder {
    pid_t pid = -1;
    std::string result;
};

UserHolder hold_as_nobody(const std::string &dir) {
    int report[2];
    if (pipe(report) != 0)
        return {};
    pid_t pid = fork();
    if (pid == 0) {
        close(report[0]);
        if (harness_open_to_others() != 0 || setgid(65534) != 0 || setuid(65534) != 0)
            _exit(1);
        std::string got;
        int dir_fd = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
        got += dir_fd >= 0 && flock(dir_fd, LOCK_EX | LOCK_NB) == 0 ? "dir-locked " : "dir-free ";
        int lock_fd = open((dir + "/avconfig.lock").c_str(), O_RDWR | O_CREAT, 0666);
        got += lock_fd >= 0 ? "lock-opened" : "lock-refused";
        if (lock_fd >= 0) {
            struct flock whole = {};
            whole.l_type = F_WRLCK;
            fcntl(lock_fd, F_SETLK, &whole);
        }
        if (write(report[1], got.data(), got.size()) < 0)
            _exit(2);
        close(report[1]);
        pause();
        _exit(0);
    }
    close(report[1]);
    char buffer[64] = {};
    ssize_t n = read(report[0], buffer, sizeof buffer - 1);
    close(report[0]);
    return {pid, n > 0 ? std::string(buffer, static_cast<size_t>(n)) : ""};
}

// Whatever a user does first (a lock file of root's already there or not),
// root's editors open and save.
TEST(EditorsLock, AnotherUserCannotKeepRootOut) {
    struct Case {
        const char *what;
        bool lock_file_first;
    };
    for (const Case &c : {Case{"no lock file yet", false}, Case{"lock file there", true}}) {
        SCOPED_TRACE(c.what);
        std::string root = harness_new_root(), dir = root + "/conduvia/config";
        ASSERT_EQ(chmod(dir.c_str(), 0755), 0);
        if (c.lock_file_first) {
            int fd = open((dir + "/avconfig.lock").c_str(), O_RDWR | O_CREAT, 0600);
            ASSERT_GE(fd, 0);
            close(fd);
        }
        UserHolder user = hold_as_nobody(dir);
        ASSERT_GT(user.pid, 0);
        EXPECT_EQ(user.result, "dir-locked lock-refused");
        run_screen(root, 'c', "Authorized UNIX Commands", {{"awho{F6}{F6}"}}, c.what);
        EXPECT_EQ(file_bytes(dir + "/commands"), "who\n");
        struct stat st = {};
        ASSERT_EQ(lstat((dir + "/avconfig.lock").c_str(), &st), 0);
        EXPECT_TRUE(S_ISREG(st.st_mode));
        EXPECT_EQ(st.st_uid, 0u);
        EXPECT_EQ(st.st_mode & 07777, 0600u);
        kill(user.pid, SIGKILL);
        waitpid(user.pid, nullptr, 0);
    }
}

// Ctrl-Z under a job-control shell with a table screen open marks the lock
// as held by a stopped session, which a second session reports once the
// stop is more than a minute old; "fg" clears the mark.
TEST(EditorsLock, StoppedSessionIsNamedStopped) {
    std::string root = harness_new_root(), lock = root + "/conduvia/config/avconfig.lock";
    Harness *h = harness_start({.program = "/bin/bash",
                                .args = {"-c", "set -m; " AV_BINARY "; stty sane; read -r go; fg"},
                                .root = root,
                                .watch_child = true});
    ASSERT_NE(h, nullptr);
    ASSERT_TRUE(harness_wait_text(h, MENU_TEXT));
    harness_type(h, "c");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands"));
    EXPECT_EQ(file_bytes(lock), "");
    harness_key(h, "Ctrl-Z");
    ASSERT_TRUE(harness_wait_stopped(h)) << harness_screen(h);
    const std::string mark = file_bytes(lock);
    struct timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    ASSERT_EQ(mark.rfind("stopped ", 0), 0u) << mark;
    EXPECT_LE(std::abs(std::stol(mark.substr(8)) - static_cast<long>(now.tv_sec)), 2) << mark;

    struct Case {
        long ago;
        bool stopped;
    };
    for (const Case &c : {Case{5, false}, Case{61 + 5, true}}) {
        // The stop is made older than it is, as if the holder had waited.
        std::ofstream(lock, std::ios::trunc) << "stopped " << now.tv_sec - c.ago << "\n";
        Harness *second = start_at_menu({.root = root});
        ASSERT_NE(second, nullptr);
        harness_type(second, "c");
        EXPECT_TRUE(harness_wait_text(second, "Another session (process "))
            << harness_screen(second);
        const std::string screen = harness_screen(second);
        EXPECT_NE(screen.find(" on /dev/pts/"), std::string::npos) << screen;
        EXPECT_EQ(screen.find(", stopped)") != std::string::npos, c.stopped) << screen;
        harness_type(second, " ");
        EXPECT_TRUE(harness_wait_text(second, MENU_TEXT));
        quit(second);
    }

    harness_type(h, "\r");
    ASSERT_TRUE(harness_wait_text(h, "Authorized UNIX Commands")) << harness_screen(h);
    EXPECT_EQ(file_bytes(lock), "");
    harness_key(h, "Esc");
    EXPECT_TRUE(harness_wait_text(h, MENU_TEXT));
    harness_type(h, "x");
    harness_wait_exit(h);
    harness_stop(h);
}

} // namespace
