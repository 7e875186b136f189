// Read+sort time of line files in random order, the load of a large site's
// name-to-IP table.
#include "support/support.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <unistd.h>

namespace {

std::string temp_dir;
std::map<int, std::string> files;

const std::string &file_of(int lines) {
    auto found = files.find(lines);
    if (found != files.end()) {
        return found->second;
    }
    std::string path = temp_dir + "/lines" + std::to_string(lines);
    std::ofstream out(path);
    std::mt19937 random(lines);
    char line[128];
    for (int i = 0; i < lines; i++) {
        unsigned r = random();
        snprintf(line, sizeof line, "%cc%08u         10.%u.%u.%u", (r & 1) ? 'P' : 'p',
                 static_cast<unsigned>(random() % 100000000u), (r >> 8) & 255, (r >> 16) & 255,
                 (r >> 24) & 255);
        out << line << '\n';
    }
    return files[lines] = path;
}

bool read_and_sort(const std::string &path) {
    List *list = list_create(25);
    char msg[AV_MSG_MAX];
    bool ok = read_line_file(path.c_str(), list, "", msg) >= 0 && sort_string_list(list, msg) == 0;
    list_destroy(list);
    return ok;
}

void BM_ReadSort(benchmark::State &state) {
    const std::string &path = file_of(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        if (!read_and_sort(path)) {
            state.SkipWithError("read or sort failed");
            return;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_ReadSort)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char **argv) {
    char name[] = "/tmp/avbenchXXXXXX";
    if (mkdtemp(name) == nullptr) {
        perror("mkdtemp");
        return 1;
    }
    temp_dir = name;
    // One plain figure per size, before the statistics.
    for (int lines : {1000, 10000, 100000}) {
        const std::string &path = file_of(lines);
        auto start = std::chrono::steady_clock::now();
        bool ok = read_and_sort(path);
        std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
        printf("read+sort %d lines: %.1f ms%s\n", lines, took.count(), ok ? "" : " (failed)");
    }
    fflush(stdout);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    for (const auto &file : files) {
        unlink(file.second.c_str());
    }
    rmdir(name);
    return 0;
}
