#include "support/support.h"
#include "test_util.h"

#include <gtest/gtest.h>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

struct CommandDir {
    std::string path = mkdtemp(std::string("/tmp/avcommandXXXXXX").data());
    ~CommandDir() { std::filesystem::remove_all(path); }
};

// Runs command with its output in a file and returns (wait status, output).
std::pair<int, std::string> run(const CommandDir &dir, const std::string &command, int in_fd) {
    std::string out = dir.path + "/out";
    int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    int status = run_system_command(command.c_str(), in_fd, fd, -1);
    close(fd);
    return {status, file_bytes(out)};
}

struct CommandCase {
    const char *name;
    const char *command;
    std::vector<std::string> env; // NAME=value set for the call
    const char *input;            // nullptr: no descriptor given
    const char *output;
    int exit_code; // -1: killed by SIGUSR1
};

TEST(SupportSystemCommand, RunsWithTheSystemPathOnlyTheStandardDescriptorsAndACleanShell) {
    CommandDir dir;
    const std::string bin = dir.path + "/bin";
    std::filesystem::create_directories(bin);
    const std::string marker = dir.path + "/marker";
    const std::string fake = bin + "/avconfig-fake-tool";
    std::ofstream(fake) << "#!/bin/sh\ntouch " << marker << "\n";
    chmod(fake.c_str(), 0755);
    const std::string caller_path = "PATH=" + bin + ":/usr/bin:/bin";

    const CommandCase cases[] = {
        {"the fixed PATH",
         "echo \"$PATH\"",
         {caller_path},
         nullptr,
         "/usr/sbin:/usr/bin:/sbin:/bin\n",
         0},
        {"the caller's directories are not searched",
         "avconfig-fake-tool 2>/dev/null; echo $?",
         {caller_path},
         nullptr,
         "127\n",
         0},
        // Not the last command, so the shell itself stays to be listed.
        {"only 0, 1 and 2 are open", "ls /proc/$$/fd; :", {}, nullptr, "0\n1\n2\n", 0},
        {"no descriptor given is /dev/null",
         "readlink /proc/$$/fd/0 /proc/$$/fd/2; :",
         {},
         nullptr,
         "/dev/null\n/dev/null\n",
         0},
        {"a given input is read", "cat", {}, "typed\n", "typed\n", 0},
        {"shell start-up files dropped, the rest kept",
         "echo \"${BASH_ENV-unset} ${ENV-unset} $AV_KEEP\"",
         {"BASH_ENV=/nonexistent/b", "ENV=/nonexistent/e", "AV_KEEP=kept"},
         nullptr,
         "unset unset kept\n",
         0},
        {"the exit status comes back", "exit 3", {}, nullptr, "", 3},
        {"a signal the caller blocks reaches the command",
         "kill -USR1 $$; echo survived",
         {},
         nullptr,
         "",
         -1},
    };
    // Held open without close-on-exec, as the terminal and a lock would be.
    int held[] = {open("/dev/null", O_RDONLY), open(dir.path.c_str(), O_RDONLY), dup(1)};
    sigset_t usr1, before;
    sigemptyset(&usr1);
    sigaddset(&usr1, SIGUSR1);
    sigprocmask(SIG_BLOCK, &usr1, &before);
    const std::string saved_path = getenv("PATH") ? getenv("PATH") : "";
    for (const CommandCase &c : cases) {
        SCOPED_TRACE(c.name);
        for (const std::string &entry : c.env)
            putenv(const_cast<char *>(entry.c_str()));
        int in_fd = -1;
        if (c.input != nullptr) {
            std::string in = dir.path + "/in";
            std::ofstream(in) << c.input;
            in_fd = open(in.c_str(), O_RDONLY | O_CLOEXEC);
        }
        auto [status, output] = run(dir, c.command, in_fd);
        if (in_fd >= 0)
            close(in_fd);
        for (const std::string &entry : c.env)
            unsetenv(entry.substr(0, entry.find('=')).c_str());
        setenv("PATH", saved_path.c_str(), 1);
        EXPECT_EQ(output, c.output);
        if (c.exit_code < 0) {
            EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGUSR1) << status;
        } else {
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == c.exit_code) << status;
        }
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    for (int fd : held)
        close(fd);
    EXPECT_FALSE(std::filesystem::exists(marker)) << "ran the caller's program";
}

} // namespace
