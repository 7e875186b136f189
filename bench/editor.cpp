// The commands screen on a 10,000-line file, driven through a
// pseudo-terminal: the time from sending a key until the program's output
// goes quiet, for each step a user takes (open, add, move to the end, save).
// bell_key_ms is the cost of a key the screen ignores, the floor under
// every other step.
//
// The bench runs the program on a product root of its own (bench_root.h)
// and writes the commands file there, before every run.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "bench_root.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int LINES = 10000;
constexpr int QUIET_MS = 60;

struct Session {
    pid_t pid = -1;
    int master = -1;
    std::string output;
    Clock::time_point last_byte;
};

std::string root; // the bench's own product root, seen at AV_PRODUCT_ROOT

bool commands_ready() {
    std::ofstream out(root + "/conduvia/config/commands", std::ios::trunc);
    for (int i = 0; i < LINES; i++)
        out << "/usr/local/bin/command-" << (i * 7919) % LINES << " --option " << i << "\n";
    return static_cast<bool>(out);
}

// Reads whatever arrives within wait_ms; true when something came.
bool pump(Session *s, int wait_ms) {
    struct pollfd p = {s->master, POLLIN, 0};
    if (poll(&p, 1, wait_ms) <= 0)
        return false;
    char buf[8192];
    ssize_t n = read(s->master, buf, sizeof buf);
    if (n <= 0)
        return false;
    s->output.append(buf, static_cast<size_t>(n));
    s->last_byte = Clock::now();
    return true;
}

// Sends keys and returns the milliseconds until the last byte of output
// before QUIET_MS of silence; wait_for, if given, must appear first.
double step(Session *s, const std::string &keys, const char *wait_for = nullptr) {
    size_t mark = s->output.size();
    Clock::time_point sent = Clock::now();
    s->last_byte = sent;
    if (write(s->master, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        return -1;
    Clock::time_point give_up = sent + std::chrono::seconds(10);
    while (Clock::now() < give_up) {
        bool got = pump(s, QUIET_MS);
        bool seen = wait_for == nullptr || s->output.find(wait_for, mark) != std::string::npos;
        if (!got && seen && s->output.size() > mark)
            break;
    }
    return std::chrono::duration<double, std::milli>(s->last_byte - sent).count();
}

bool start(Session *s) {
    struct winsize ws = {24, 80, 0, 0};
    s->pid = forkpty(&s->master, nullptr, nullptr, &ws);
    if (s->pid < 0)
        return false;
    if (s->pid == 0) {
        setenv("TERM", "xterm", 1);
        unsetenv("TERMCAP");
        unsetenv("AVTERM");
        unsetenv("QXTERM");
        execl(AV_BINARY, AV_BINARY, static_cast<char *>(nullptr));
        _exit(127);
    }
    return step(s, "", "Configuration Program") >= 0;
}

void stop(Session *s) {
    if (s->pid > 0) {
        kill(s->pid, SIGKILL);
        waitpid(s->pid, nullptr, 0);
    }
    if (s->master >= 0)
        close(s->master);
}

void BM_CommandsScreen10000(benchmark::State &state) {
    if (!commands_ready()) {
        state.SkipWithError("cannot write the commands file");
        return;
    }
    double idle_ms = 0, open_ms = 0, add_ms = 0, save_entry_ms = 0, end_ms = 0, save_ms = 0;
    int runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        commands_ready(); // every run starts from the same file
        Session s;
        if (!start(&s)) {
            stop(&s);
            state.SkipWithError("avconfig did not start");
            return;
        }
        state.ResumeTiming();
        double open = step(&s, "c", "Authorized UNIX Commands");
        // A key the list answers with the bell alone: what any key costs
        // before the screen does anything (the terminal's inter-character
        // timer groups the bytes of a key).
        double idle = step(&s, "?");
        double add = step(&s, "a", "Add Entry");
        for (char c : std::string("zzz-bench"))
            step(&s, std::string(1, c));
        double save_entry = step(&s, "\033[17~");
        double end = step(&s, "\033[F");
        end += step(&s, "\033[F");
        double save = step(&s, "\033[17~", "Configuration Program");
        state.PauseTiming();
        stop(&s);
        state.ResumeTiming();
        idle_ms += idle;
        open_ms += open;
        add_ms += add;
        save_entry_ms += save_entry;
        end_ms += end;
        save_ms += save;
        runs++;
    }
    if (runs == 0)
        return;
    state.counters["bell_key_ms"] = idle_ms / runs;
    state.counters["open_ms"] = open_ms / runs;
    state.counters["add_dialog_ms"] = add_ms / runs;
    state.counters["add_entry_ms"] = save_entry_ms / runs;
    state.counters["move_to_end_ms"] = end_ms / runs;
    state.counters["save_ms"] = save_ms / runs;
}

BENCHMARK(BM_CommandsScreen10000)->Iterations(3)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv) {
    std::string why;
    root = bench_root::enter(&why);
    if (root.empty()) {
        fprintf(stderr, "bench_editor: %s\n", why.c_str());
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    bench_root::leave(root);
    return 0;
}
