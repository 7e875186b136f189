// The commands screen on a 10,000-line file, driven through the end-to-end
// harness: for each step a user takes (open, add, move to the end, save), the
// time from sending its keys until the program has drawn the answer and sits
// reading the terminal again. bell_key_ms is the cost of a key the screen
// ignores, the floor under every other step (the terminal's inter-character
// timer groups the bytes of a key).
//
// Each run gets a fresh product root of the harness's, inside the build
// tree, so the sandbox of "make run" is never touched.
#include <benchmark/benchmark.h>

#include <chrono>
#include <fstream>
#include <string>

#include "harness.h"

namespace {

constexpr int LINES = 10000;

std::string commands_root() {
    std::string root = harness_new_root();
    std::ofstream out(root + "/conduvia/config/commands", std::ios::trunc);
    for (int i = 0; i < LINES; i++)
        out << "/usr/local/bin/command-" << (i * 7919) % LINES << " --option " << i << "\n";
    return out ? root : "";
}

// Milliseconds from sending keys until the program is idle again (with
// wait_for on the screen first, if given).
double step(Harness *h, const std::string &keys, const char *wait_for = nullptr) {
    auto sent = std::chrono::steady_clock::now();
    harness_keys(h, keys);
    if (wait_for != nullptr && !harness_wait_text(h, wait_for))
        return -1;
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - sent)
        .count();
}

void BM_CommandsScreen10000(benchmark::State &state) {
    double idle_ms = 0, open_ms = 0, add_ms = 0, save_entry_ms = 0, end_ms = 0, save_ms = 0;
    int runs = 0;
    for (auto _ : state) {
        state.PauseTiming();
        std::string root = commands_root(); // every run starts from the same file
        Harness *h = root.empty() ? nullptr : harness_start({.root = root});
        if (h == nullptr || !harness_wait_text(h, "Configuration Program")) {
            harness_stop(h);
            state.SkipWithError("avconfig did not start");
            return;
        }
        state.ResumeTiming();
        open_ms += step(h, "c", "Authorized UNIX Commands");
        idle_ms += step(h, "?");
        add_ms += step(h, "a", "Add Entry");
        harness_keys(h, "zzz-bench");
        save_entry_ms += step(h, "{F6}");
        end_ms += step(h, "{End}") + step(h, "{End}");
        save_ms += step(h, "{F6}", "Configuration Program");
        state.PauseTiming();
        harness_stop(h);
        state.ResumeTiming();
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

BENCHMARK_MAIN();
