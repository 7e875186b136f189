// The configuration lock: what it accepts as its lock file, what it says
// when it cannot lock, and how it names the session that holds it.
#include "support/support.h"
#include "test_util.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

std::string temp_dir() {
    char path[] = "/tmp/avlock_XXXXXX";
    return mkdtemp(path) != nullptr ? path : "";
}

TEST(ConfigLock, LockFileStates) {
    struct Case {
        const char *what;
        std::function<void(const std::string &dir, const std::string &lock)> prepare;
        int result; // 0: a descriptor
        const char *note;
    };
    const Case cases[] = {
        {"created when missing", [](const std::string &, const std::string &) {}, 0, ""},
        {"wide mode narrowed",
         [](const std::string &, const std::string &lock) {
             close(open(lock.c_str(), O_CREAT | O_WRONLY, 0600));
             EXPECT_EQ(chmod(lock.c_str(), 0666), 0);
         },
         0, ""},
        {"a link is not followed",
         [](const std::string &dir, const std::string &lock) {
             close(open((dir + "/target").c_str(), O_CREAT | O_WRONLY, 0600));
             EXPECT_EQ(symlink((dir + "/target").c_str(), lock.c_str()), 0);
         },
         CONFIG_LOCK_FAILED, "No lock (the lock file is a link): other sessions are not kept out."},
        {"another user's file",
         [](const std::string &, const std::string &lock) {
             close(open(lock.c_str(), O_CREAT | O_WRONLY, 0600));
             EXPECT_EQ(chown(lock.c_str(), 65534, 65534), 0);
         },
         CONFIG_LOCK_FAILED,
         "No lock (the lock file belongs to another user): other sessions are not kept out."},
        {"not a file",
         [](const std::string &, const std::string &lock) {
             EXPECT_EQ(mkfifo(lock.c_str(), 0600), 0);
         },
         CONFIG_LOCK_FAILED,
         "No lock (the lock file is not a file): other sessions are not kept out."},
        {"a second name of another file",
         [](const std::string &dir, const std::string &lock) {
             close(open((dir + "/shadow").c_str(), O_CREAT | O_WRONLY, 0600));
             EXPECT_EQ(link((dir + "/shadow").c_str(), lock.c_str()), 0);
         },
         CONFIG_LOCK_FAILED,
         "No lock (the lock file has other names): other sessions are not kept out."},
        {"no directory",
         [](const std::string &dir, const std::string &) { EXPECT_EQ(rmdir(dir.c_str()), 0); }, -1,
         ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string dir = temp_dir(), lock = dir + "/" + CONFIG_LOCK_NAME;
        c.prepare(dir, lock);
        char note[AV_MSG_MAX] = "";
        int fd = config_lock(dir.c_str(), note);
        if (c.result == 0) {
            ASSERT_GE(fd, 0) << note;
            struct stat st = {};
            ASSERT_EQ(lstat(lock.c_str(), &st), 0);
            EXPECT_TRUE(S_ISREG(st.st_mode));
            EXPECT_EQ(st.st_mode & 07777, 0600u);
            EXPECT_EQ(st.st_uid, geteuid());
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0) << "the print command would inherit it";
            config_unlock(fd);
        } else {
            EXPECT_EQ(fd, c.result);
            EXPECT_STREQ(note, c.note);
        }
        std::filesystem::remove_all(dir);
    }
}

// A child that holds the lock (or an open-file lock, which names no
// process) until killed; stopped when asked.
pid_t hold(const std::string &dir, bool named, bool stop) {
    int ready[2];
    if (pipe(ready) != 0)
        return -1;
    pid_t pid = fork();
    if (pid == 0) {
        setsid(); // no terminal
        char note[AV_MSG_MAX];
        int fd = -1;
        if (named) {
            fd = config_lock(dir.c_str(), note);
        } else {
            fd = open((dir + "/" + CONFIG_LOCK_NAME).c_str(), O_RDWR | O_CREAT, 0600);
            struct flock whole = {};
            whole.l_type = F_WRLCK;
            if (fcntl(fd, F_OFD_SETLK, &whole) != 0)
                fd = -1;
        }
        if (stop)
            config_lock_stopped();
        char ok = fd >= 0 ? 'y' : 'n';
        if (write(ready[1], &ok, 1) != 1)
            _exit(1);
        if (stop)
            raise(SIGSTOP);
        pause();
        _exit(0);
    }
    close(ready[1]);
    char ok = 'n';
    if (read(ready[0], &ok, 1) != 1 || ok != 'y')
        pid = -1;
    close(ready[0]);
    return pid;
}

// The note as a message box shows it: whole when it fits in 76 columns,
// else with fewer closing words.
std::string fitted(const std::string &who) {
    if (who.empty())
        return "Another session is editing the configuration; try again later.";
    for (const char *ending : {" is editing the configuration; try again later.",
                               " is editing the configuration.", " is editing."}) {
        std::string note = "Another session (" + who + ")" + ending;
        if (note.size() <= 76)
            return note;
    }
    return "";
}

TEST(ConfigLock, BusyNoteNamesTheHolder) {
    struct Case {
        const char *what;
        bool named;
        bool stop;
        long backdate;   // seconds the stop record is made older
        std::string who; // "PID" stands for the holder's process
    };
    const Case cases[] = {
        {"running, without a terminal", true, false, 0, "process PID"},
        {"stopped a moment ago", true, true, 0, "process PID"},
        {"stopped for over a minute", true, true, 120, "process PID, stopped"},
        {"holder unknown", false, false, 0, ""},
    };
    for (const Case &c : cases) {
        SCOPED_TRACE(c.what);
        std::string dir = temp_dir(), lock = dir + "/" + CONFIG_LOCK_NAME;
        pid_t pid = hold(dir, c.named, c.stop);
        ASSERT_GT(pid, 0);
        if (c.stop) {
            int status = 0;
            ASSERT_EQ(waitpid(pid, &status, WUNTRACED), pid);
            ASSERT_TRUE(WIFSTOPPED(status));
            std::string mark = file_bytes(lock);
            ASSERT_EQ(mark.rfind("stopped ", 0), 0u) << mark;
            if (c.backdate > 0) {
                long since = std::stol(mark.substr(8)) - c.backdate;
                std::ofstream(lock, std::ios::trunc) << "stopped " << since << "\n";
            }
        }
        char note[AV_MSG_MAX] = "";
        EXPECT_EQ(config_lock(dir.c_str(), note), CONFIG_LOCK_BUSY);
        std::string who = c.who;
        if (size_t at = who.find("PID"); at != std::string::npos)
            who.replace(at, 3, std::to_string(pid));
        EXPECT_EQ(note, fitted(who));
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
        std::filesystem::remove_all(dir);
    }
}

// Stop and continue records go to the held lock only, and leave errno alone.
TEST(ConfigLock, StopRecordFollowsTheHeldLock) {
    std::string dir = temp_dir(), lock = dir + "/" + CONFIG_LOCK_NAME;
    config_lock_stopped(); // nothing held: nothing happens
    char note[AV_MSG_MAX];
    int fd = config_lock(dir.c_str(), note);
    ASSERT_GE(fd, 0);
    errno = EINTR;
    config_lock_stopped();
    EXPECT_EQ(errno, EINTR);
    EXPECT_EQ(file_bytes(lock).rfind("stopped ", 0), 0u);
    config_lock_running();
    EXPECT_EQ(file_bytes(lock), "");
    config_lock_stopped();
    config_unlock(fd);
    // A new holder starts without the old one's record.
    fd = config_lock(dir.c_str(), note);
    ASSERT_GE(fd, 0);
    EXPECT_EQ(file_bytes(lock), "");
    config_unlock(fd);
    config_lock_stopped();
    EXPECT_EQ(file_bytes(lock), "");
    std::filesystem::remove_all(dir);
}

} // namespace
