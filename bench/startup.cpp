// Start-up: the time from starting the program until its main menu is on the
// terminal (the last byte of the first paint), and its peak resident set
// size by then, next to an ncurses program that draws the same menu on the
// same terminal type (startup_peer.c). Runs alternate between the two;
// medians are printed. An argument sets the number of runs of each.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "bench_root.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int QUIET_MS = 30;
constexpr const char *MARK = "Exit"; // in the last item; avconfig skips blanks with cursor motions

struct Sample {
    double paint_ms = 0;
    double peak_kib = 0;
    bool nss = false; // a name-service module was mapped at first paint
};

// The peak RSS so far and whether any libnss_ module is mapped.
bool read_process(pid_t pid, Sample *sample) {
    std::string dir = "/proc/" + std::to_string(pid);
    std::ifstream status(dir + "/status");
    std::string line;
    bool found = false;
    while (std::getline(status, line))
        if (line.rfind("VmHWM:", 0) == 0)
            found = sscanf(line.c_str() + 6, "%lf", &sample->peak_kib) == 1;
    std::ifstream maps(dir + "/maps");
    while (std::getline(maps, line))
        if (line.find("/libnss_") != std::string::npos)
            sample->nss = true;
    return found;
}

bool run_once(const char *program, Sample *sample) {
    int master = -1, slave = -1;
    struct winsize ws = {24, 80, 0, 0};
    if (openpty(&master, &slave, nullptr, nullptr, &ws) != 0)
        return false;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int fd = 0; fd < 3; fd++)
        posix_spawn_file_actions_adddup2(&actions, slave, fd);
    posix_spawn_file_actions_addclose(&actions, master);
    posix_spawn_file_actions_addclose(&actions, slave);
    posix_spawnattr_t attr;
    posix_spawnattr_init(&attr);
    posix_spawnattr_setflags(&attr, POSIX_SPAWN_SETSID);
    char *argv[] = {const_cast<char *>(program), nullptr};
    char term[] = "TERM=xterm";
    char *envp[] = {term, nullptr};

    pid_t pid = -1;
    Clock::time_point start = Clock::now(), last = start;
    int failed = posix_spawn(&pid, program, &actions, &attr, argv, envp);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attr);
    close(slave);
    std::string output;
    bool painted = false;
    while (failed == 0 && Clock::now() - start < std::chrono::seconds(5)) {
        struct pollfd p = {master, POLLIN, 0};
        char buf[8192];
        ssize_t n = poll(&p, 1, QUIET_MS) > 0 ? read(master, buf, sizeof buf) : 0;
        if (n > 0) {
            output.append(buf, static_cast<size_t>(n));
            last = Clock::now();
        } else if (output.find(MARK) != std::string::npos) {
            painted = true;
            break;
        } else if (n < 0) {
            break; // the program went away
        }
    }
    painted = painted && read_process(pid, sample);
    if (!painted)
        fprintf(stderr, "%s wrote: %s\n", program, output.c_str());
    sample->paint_ms = std::chrono::duration<double, std::milli>(last - start).count();
    if (pid > 0) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    close(master);
    return painted;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

int main(int argc, char **argv) {
    int runs = argc > 1 ? atoi(argv[1]) : 200;
    std::string why;
    std::string root = bench_root::enter(&why);
    if (root.empty()) {
        fprintf(stderr, "bench_startup: %s\n", why.c_str());
        return 1;
    }
    const char *programs[2] = {AV_BINARY, AV_PEER};
    std::vector<double> paint[2], peak[2];
    bool nss = false;
    for (int i = -5; i < runs; i++) { // five warm-up runs of each
        for (int p = 0; p < 2; p++) {
            Sample s;
            if (!run_once(programs[p], &s)) {
                fprintf(stderr, "bench_startup: %s did not paint its menu\n", programs[p]);
                bench_root::leave(root);
                return 1;
            }
            if (i < 0)
                continue;
            paint[p].push_back(s.paint_ms);
            peak[p].push_back(s.peak_kib / 1024);
            nss = nss || (p == 0 && s.nss);
        }
    }
    bench_root::leave(root);

    double time_ratio = median(paint[0]) / median(paint[1]);
    printf("start-up on TERM=xterm, median of %d runs each\n", runs);
    printf("%-22s %20s %12s\n", "", "exec to first paint", "peak RSS");
    printf("%-22s %17.3f ms %8.2f MiB\n", "avconfig", median(paint[0]), median(peak[0]));
    printf("%-22s %17.3f ms %8.2f MiB\n", "ncurses peer", median(paint[1]), median(peak[1]));
    printf("%-22s %20.3f %12.3f\n", "avconfig / peer", time_ratio,
           median(peak[0]) / median(peak[1]));
    printf("name-service modules loaded by avconfig: %s\n", nss ? "yes" : "none");
    printf("target (time ratio <= 1.05, peak RSS < 2 MiB): %s\n",
           time_ratio <= 1.05 && median(peak[0]) < 2 ? "met" : "not met");
    return 0;
}
