// Cost of composing and sending the whole screen: a full-screen boxed window
// with ten overlapping, boxed child windows. Prints the CPU time of one full
// compose-and-send and the bytes of the first paint against a lower bound.
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "term/term.h"
#include "win/win_internal.h"

namespace {

const char *norm_string = "";
const char *rev_string = "";

int null_fd = -1;
int saved_stdout = -1;

void output_to_null() {
    fflush(stdout);
    dup2(null_fd, 1);
}

void output_back() {
    dup2(saved_stdout, 1);
}

int load_terminal() {
    unsetenv("AVTERM");
    unsetenv("QXTERM");
    unsetenv("QXTERMCAP");
    std::string path = AV_SOURCE_DIR "/data/termdef";
    const char *name = "xterm";
    if (access(path.c_str(), R_OK) != 0) {
        path = AV_SOURCE_DIR "/tests/win/data/termdef";
        name = "test";
    }
    setenv("AVTERMCAP", path.c_str(), 1);
    setenv("TERM", name, 1);
    TermState state{};
    if (term_init(TERM_KEEP_MODE, &state) != 0)
        return -1;
    term_screen_strings();
    norm_string = tc_str("norm") ? tc_str("norm") : (tc_str("se") ? tc_str("se") : "");
    rev_string = tc_str("rev") ? tc_str("rev") : (tc_str("so") ? tc_str("so") : "");
    return 0;
}

void build_scene() {
    int top = win_create(-1, "bench", 0, 0, -1, -1);
    win_box(top, 0, 0, 0, -1, -1);
    win_hline(top, 1, 1, 2, 0, -1);
    win_puts(top, 1, 30, "Bench Screen Title", 0);
    win_puts(top, 23, 2, "F6", 1);
    win_puts(top, 23, 5, "Save", 0);
    win_show(top);
    for (int i = 0; i < 10; i++) {
        int row = 3 + (i * 2) % 14;
        int column = 2 + i * 7;
        int w = win_create(top, "child", row, column, 7, 20);
        win_box(w, 0, 0, 0, -1, -1);
        for (int y = 1; y < 6; y++)
            win_puts(w, y, 1, "child window text ", y == 3 ? 1 : 0);
        win_show(w);
    }
}

std::string capture(void (*f)()) {
    fflush(stdout);
    int fds[2];
    if (pipe(fds) != 0)
        return "";
    fcntl(fds[1], F_SETPIPE_SZ, 1 << 20);
    fcntl(fds[0], F_SETFL, O_NONBLOCK);
    dup2(fds[1], 1);
    f();
    output_back();
    close(fds[1]);
    std::string out;
    char buffer[4096];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
        out.append(buffer, static_cast<size_t>(n));
    close(fds[0]);
    return out;
}

// The scene uses only normal and reverse text besides line pieces.
size_t switch_cost(int from, int to) {
    if (from == to)
        return 0;
    size_t n = 0;
    if ((to & ATTR_LINE) != (from & ATTR_LINE))
        n += std::strlen(term_line_string((to & ATTR_LINE) ? LS_GS : LS_GE));
    if ((from & 15) != (to & 15))
        n += std::strlen((to & 15) == 0 ? norm_string : rev_string);
    return n;
}

// Lower bound for sending the changed cells of the image: one byte per
// changed cell, one cursor motion per run of them (also the cellless run at a
// guarded bottom-right cell), and an attribute or line-mode switch wherever
// the attribute changes (and back at a run's end).
size_t lower_bound() {
    const Window *screen = win_lookup(0);
    size_t bytes = 0;
    for (int y = 0; y < WIN_SCREEN_ROWS; y++) {
        int current = -1;
        for (int x = 0; x < WIN_SCREEN_COLUMNS; x++) {
            const Cell &c = screen->cells[y * WIN_SCREEN_COLUMNS + x];
            int changed = (c.attribute & ATTR_CHANGED) != 0;
            int guarded = term_auto_margin() == 1 && y == 23 && x == 79;
            if (!changed || guarded) {
                if (current >= 0)
                    bytes += switch_cost(current, 0);
                current = -1;
                // The guarded cell is never written, but the run that meets it
                // first still sends its cursor motion.
                if (changed)
                    bytes += std::strlen(term_goto(y, x));
                continue;
            }
            int a = c.attribute & ~ATTR_CHANGED;
            if (current < 0) {
                bytes += std::strlen(term_goto(y, x));
                current = 0;
            }
            bytes += switch_cost(current, a) + 1;
            current = a;
        }
        if (current >= 0)
            bytes += switch_cost(current, 0);
    }
    return bytes;
}

void first_paint() {
    term_screen_state(1);
}

double seconds(const timeval &t) {
    return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6;
}

// Splits CPU time into the library's own work (user) and the kernel's (the
// one write per run), per iteration, in microseconds.
void add_cpu_split(benchmark::State &state, const rusage &before, const rusage &after) {
    double n = static_cast<double>(state.iterations());
    state.counters["user_us"] = (seconds(after.ru_utime) - seconds(before.ru_utime)) * 1e6 / n;
    state.counters["sys_us"] = (seconds(after.ru_stime) - seconds(before.ru_stime)) * 1e6 / n;
}

void BM_FullRepaint(benchmark::State &state) {
    rusage before, after;
    output_to_null();
    getrusage(RUSAGE_SELF, &before);
    for (auto _ : state)
        benchmark::DoNotOptimize(term_repaint());
    getrusage(RUSAGE_SELF, &after);
    output_back();
    add_cpu_split(state, before, after);
}
BENCHMARK(BM_FullRepaint);

// Every image cell marked changed, then the screen window refreshed: the
// compose finds nothing new and the send writes all 1920 cells.
void BM_MarkAllAndRefresh(benchmark::State &state) {
    Window *screen = win_lookup(0);
    rusage before, after;
    output_to_null();
    getrusage(RUSAGE_SELF, &before);
    for (auto _ : state) {
        for (int i = 0; i < screen->cell_count; i++)
            screen->cells[i].attribute |= ATTR_CHANGED;
        benchmark::DoNotOptimize(win_refresh(0, 0, 0, -1, -1));
    }
    getrusage(RUSAGE_SELF, &after);
    output_back();
    add_cpu_split(state, before, after);
}
BENCHMARK(BM_MarkAllAndRefresh);

void BM_RefreshUnchanged(benchmark::State &state) {
    output_to_null();
    for (auto _ : state)
        benchmark::DoNotOptimize(win_refresh(0, 0, 0, -1, -1));
    output_back();
}
BENCHMARK(BM_RefreshUnchanged);

} // namespace

int main(int argc, char **argv) {
    null_fd = open("/dev/null", O_WRONLY);
    saved_stdout = dup(1);
    if (load_terminal() != 0) {
        std::fprintf(stderr, "bench_refresh: no terminal description\n");
        return 1;
    }
    output_to_null();
    term_blank_screen();
    term_screen_state(0);
    build_scene();
    output_back();
    // Everything composed while output was off is marked; switching output
    // on sends it.
    size_t bound = lower_bound();
    std::string paint = capture(first_paint);
    std::printf("first paint: %zu bytes sent, lower bound %zu bytes (%+ld)\n", paint.size(), bound,
                static_cast<long>(paint.size()) - static_cast<long>(bound));
    std::fflush(stdout);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
