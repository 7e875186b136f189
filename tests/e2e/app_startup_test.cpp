// The command line and the start-up checks: exact messages, statuses, and a
// terminal left alone by every refusal.
#include "harness.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

#include <fstream>
#include <unistd.h>

namespace {

struct Plain {
    int status;
    std::string out;
};

// Runs the program with no terminal at all: standard input from /dev/null,
// standard output into a pipe, so that the bytes are exactly what it printed.
// A passwd file, when given, is mounted over /etc/passwd for this run only.
Plain run_plain(const std::vector<std::string> &args, const std::vector<std::string> &env,
                bool as_root, const std::string &passwd = "") {
    int out[2];
    if (pipe(out) != 0)
        return {-1, ""};
    pid_t pid = fork();
    if (pid == 0) {
        int null = open("/dev/null", O_RDWR);
        dup2(null, 0);
        dup2(out[1], 1);
        dup2(null, 2);
        close(out[0]);
        setsid();
        if (!passwd.empty() &&
            (unshare(CLONE_NEWNS) != 0 ||
             mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
             mount(passwd.c_str(), "/etc/passwd", nullptr, MS_BIND, nullptr) != 0))
            _exit(125);
        if (!as_root && (setgroups(0, nullptr) != 0 || setgid(65534) != 0 || setuid(65534) != 0))
            _exit(126);
        std::vector<char *> argv = {const_cast<char *>(AV_BINARY)};
        for (const std::string &a : args)
            argv.push_back(const_cast<char *>(a.c_str()));
        argv.push_back(nullptr);
        std::vector<char *> envp;
        for (const std::string &e : env)
            envp.push_back(const_cast<char *>(e.c_str()));
        envp.push_back(nullptr);
        execve(AV_BINARY, argv.data(), envp.data());
        _exit(127);
    }
    close(out[1]);
    std::string text;
    char buf[512];
    ssize_t n;
    while ((n = read(out[0], buf, sizeof buf)) > 0)
        text.append(buf, static_cast<size_t>(n));
    close(out[0]);
    int st = 0;
    waitpid(pid, &st, 0);
    return {WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st), text};
}

const char *const LONG_VERSION = "\nArdovane PC Conduvia Configuration Program Version: 03.00.00\n";
const char *const SHORT_VERSION = "Program Version: 03.00.00\n";
const char *const NOT_ROOT = "\aThe configuration program must be run by 'root'.\n";
const char *const BAD_ARGUMENT = "\aInvalid Argument...\n";

TEST(AppStartup, CommandLineWithoutATerminal) {
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> env;
        bool as_root;
        int status;
        std::string out;
    };
    const std::vector<std::string> no_term = {};
    const std::vector<std::string> xterm = {"TERM=xterm"};
    const Case cases[] = {
        {{"-v"}, xterm, true, 0, LONG_VERSION},
        {{"-qv"}, xterm, true, 0, SHORT_VERSION},
        {{"-pv"}, xterm, true, 0, SHORT_VERSION},
        {{"-v"}, no_term, false, 0, LONG_VERSION},
        {{"-qv"}, no_term, false, 0, SHORT_VERSION},
        {{"-pv"}, no_term, true, 0, SHORT_VERSION},
        // Only a sole argument is a version request; the user checks come first.
        {{"-v", "-v"}, xterm, true, 255, BAD_ARGUMENT},
        {{"-v", "-v"}, xterm, false, 255, NOT_ROOT},
        {{"-qv", "x"}, no_term, true, 255, BAD_ARGUMENT},
        {{"-V"}, xterm, true, 255, BAD_ARGUMENT},
        {{"v"}, xterm, true, 255, BAD_ARGUMENT},
        {{""}, xterm, true, 255, BAD_ARGUMENT},
        {{"-x"}, xterm, false, 255, NOT_ROOT},
        {{}, xterm, false, 255, NOT_ROOT},
        {{}, no_term, false, 255, NOT_ROOT},
    };
    for (const Case &c : cases) {
        std::string label = c.as_root ? "root" : "nobody";
        for (const std::string &a : c.args)
            label += " '" + a + "'";
        Plain r = run_plain(c.args, c.env, c.as_root);
        EXPECT_EQ(r.status, c.status) << label;
        EXPECT_EQ(r.out, c.out) << label;
    }
}

TEST(AppStartup, RefusalsLeaveTheTerminalAlone) {
    struct Case {
        std::vector<std::string> args;
        std::vector<std::string> env;
        bool as_root;
        std::string shown;
    };
    const Case cases[] = {
        {{}, {}, false, "The configuration program must be run by 'root'."},
        {{"-a"}, {}, true, "Invalid Argument..."},
        {{}, {"TERM"}, true, "avconfig: no terminal type set (AVTERM, QXTERM, TERM)"},
        {{}, {"TERM=no-such-terminal"}, true, "avconfig: no description for terminal"},
        {{}, {"AVTERM=no-such-terminal"}, true, "'no-such-terminal'"},
    };
    for (const Case &c : cases) {
        HarnessOptions o;
        o.args = c.args;
        o.env = c.env;
        o.as_root = c.as_root;
        Harness *h = harness_start(o);
        ASSERT_NE(h, nullptr);
        EXPECT_EQ(harness_wait_exit(h), 255) << c.shown;
        EXPECT_TRUE(harness_wait_text(h, c.shown, 500)) << harness_output(h);
        EXPECT_TRUE(harness_mode_unchanged(h)) << c.shown;
        // Nothing but the message: no escape sequence reached the terminal.
        EXPECT_EQ(harness_output(h).find('\033'), std::string::npos) << c.shown;
        harness_stop(h);
    }
}

TEST(AppStartup, MissingDescriptionNamesWhereItWasSought) {
    struct Case {
        std::vector<std::string> env;
        std::string out;
    };
    const std::string root = AV_PRODUCT_ROOT;
    const Case cases[] = {
        {{"TERM=nosuch"},
         "avconfig: no description for terminal 'nosuch' in " + root +
             "/termdef, /etc/termcap.AV, /etc/termcap.AVQX, /etc/termcap\n"},
        {{"TERM=nosuch", "AVTERMCAP=/nonexistent/file"},
         "avconfig: no description for terminal 'nosuch' in /nonexistent/file\n"},
        {{"TERM=xterm", "QXTERMCAP=/dev/null"},
         "avconfig: no description for terminal 'xterm' in /dev/null\n"},
        {{"AVTERM=", "TERM=xterm"},
         "avconfig: no description for terminal '' in " + root +
             "/termdef, /etc/termcap.AV, /etc/termcap.AVQX, /etc/termcap\n"},
    };
    for (const Case &c : cases) {
        Plain r = run_plain({}, c.env, true);
        EXPECT_EQ(r.status, 255) << c.out;
        EXPECT_EQ(r.out, c.out);
    }
}

TEST(AppStartup, UserMissingFromThePasswordDatabaseIsRefusedSilently) {
    struct Case {
        const char *passwd;
        int status;
        std::string out;
    };
    const Case cases[] = {
        {"nobody:x:65534:65534:nobody:/nonexistent:/usr/sbin/nologin\n", 255, ""},
        // Found: the checks go on to the argument, which is refused.
        {"daemon:x:1:1::/:/bin/sh\nroot:x:0:0:root:/root:/bin/sh\n", 255, BAD_ARGUMENT},
    };
    for (const Case &c : cases) {
        std::string file = harness_new_root() + "/passwd";
        std::ofstream(file) << c.passwd;
        Plain r = run_plain({"-x"}, {"TERM=xterm"}, true, file);
        EXPECT_EQ(r.status, c.status) << c.passwd;
        EXPECT_EQ(r.out, c.out) << c.passwd;
    }
}

TEST(AppStartup, InputThatIsNotATerminalIsRefused) {
    // The shipped description is found through the product root only when
    // it is mounted; an explicit description file works anywhere.
    Plain r = run_plain({}, {"TERM=xterm", "AVTERMCAP=" AV_SOURCE_DIR "/data/termdef"}, true);
    EXPECT_EQ(r.status, 255);
    EXPECT_EQ(r.out, "avconfig: standard input is not a terminal\n");
}

} // namespace
