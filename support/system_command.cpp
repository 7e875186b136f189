// System commands (the print command, the status program), run as root from
// a screen: nothing of the caller's environment or of the program's open
// files may change what they do or what they can reach.
#include "support/support.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// The system's own directories: root's PATH from the caller's environment
// could put any program first.
const char PATH_ENTRY[] = "PATH=/usr/sbin:/usr/bin:/sbin:/bin";

// Variables through which the caller's environment would change what the
// shell makes of a fixed command line: the search path (replaced), the
// start-up files and word splitting of the shells /bin/sh may be, and
// exported shell functions.
bool dropped_variable(const char *entry) {
    static const char *const names[] = {"PATH",      "BASH_ENV", "ENV", "IFS",       "CDPATH",
                                        "SHELLOPTS", "BASHOPTS", "PS4", "GLOBIGNORE"};
    for (const char *name : names) {
        size_t length = strlen(name);
        if (strncmp(entry, name, length) == 0 && entry[length] == '=')
            return true;
    }
    return strncmp(entry, "BASH_FUNC_", 10) == 0;
}

// The caller's environment less the dropped variables, with the fixed PATH
// first. The strings stay the environment's own; only the array is new.
char **command_environment() {
    size_t count = 0;
    for (char **entry = environ; entry != nullptr && *entry != nullptr; entry++)
        count++;
    char **result = static_cast<char **>(mem_alloc((count + 2) * sizeof(char *)));
    if (result == nullptr)
        return nullptr;
    size_t used = 0;
    result[used++] = const_cast<char *>(PATH_ENTRY);
    for (size_t i = 0; i < count; i++)
        if (!dropped_variable(environ[i]))
            result[used++] = environ[i];
    result[used] = nullptr;
    return result;
}

// Every descriptor from 3 up goes at the exec. Marked rather than closed, so
// that an emulator running this program keeps its own until then.
void close_on_exec_from_3() {
    if (close_range(3, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
    long limit = sysconf(_SC_OPEN_MAX);
    if (limit < 0 || limit > 1 << 20)
        limit = 1 << 20;
    for (int fd = 3; fd < limit; fd++)
        fcntl(fd, F_SETFD, FD_CLOEXEC);
}

[[noreturn]] void run_child(const char *command, const int given[3], char **environment) {
    int null_fd = open("/dev/null", O_RDWR);
    // Copied above the standard three first, so that no dup2 below can
    // overwrite a descriptor another one still needs.
    int from[3];
    for (int i = 0; i < 3; i++) {
        int fd = given[i] >= 0 ? given[i] : null_fd;
        from[i] = fd < 0 ? -1 : fcntl(fd, F_DUPFD, 3);
    }
    for (int i = 0; i < 3; i++) {
        if (from[i] < 0 || dup2(from[i], i) < 0)
            _exit(127);
    }
    close_on_exec_from_3();
    // The program's handlers are not for this process (a stop here must not
    // restore the terminal); the exec would reset them, but a signal could
    // come before it. Ignored signals stay ignored, as over an exec.
    for (int sig = 1; sig < NSIG; sig++) {
        struct sigaction action;
        if (sigaction(sig, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
            action.sa_handler != SIG_IGN)
            signal(sig, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    char *const argv[] = {const_cast<char *>("sh"), const_cast<char *>("-c"),
                          const_cast<char *>(command), nullptr};
    execve("/bin/sh", argv, environment);
    _exit(127);
}

} // namespace

int run_system_command(const char *command, int in_fd, int out_fd, int err_fd) {
    if (command == nullptr)
        return -1;
    char **environment = command_environment();
    if (environment == nullptr)
        return -1;
    // What the program has buffered must not be written twice.
    fflush(stdout);
    fflush(stderr);
    const int given[3] = {in_fd, out_fd, err_fd};
    // Blocked until the child has let go of the program's handlers.
    sigset_t all, before;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before);
    pid_t child = fork();
    if (child == 0)
        run_child(command, given, environment);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    mem_free(environment);
    if (child < 0)
        return -1;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        // A stop and continue interrupts the wait; the command goes on.
        if (errno != EINTR)
            return -1;
    }
    return status;
}
