/// What does it cost to see what every process uses? Snapshots of 1,000 processes, with few mapped files and with 40
/// more, one after the other: the library, bare reads of the same files that look at nothing, and `ps` with the same
/// figures, in turns. Prints the medians' ratios. Runs inside mero-sandbox.
#include "median_reporter.h"
#include "population.h"

#include <merosystemd/resource.hpp>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;
using MERO::Systemd::Process;

using Pids = std::vector<pid_t>;

void Library(benchmark::State& state, const Pids& pids)
{
    for (auto _ : state) {
        try {
            for (const pid_t pid : pids) {
                benchmark::DoNotOptimize(Process(pid));
            }
        } catch (const std::exception&) {
            state.SkipWithError("a process cannot be read");
        }
    }
}

/// The system calls without which nobody can know: what is between them is the limit.
void BareReads(benchmark::State& state, const Pids& pids)
{
    static char text[1024 * 1024];
    const auto readAll = [](int folder, const char* name) {
        const int file = openat(folder, name, O_RDONLY);
        while (read(file, text, sizeof text) > 0) {
        }
        close(file);
    };
    for (auto _ : state) {
        for (const pid_t pid : pids) {
            const int folder = open(("/proc/" + std::to_string(pid)).c_str(), O_PATH | O_DIRECTORY);
            benchmark::DoNotOptimize(readlinkat(folder, "exe", text, sizeof text));
            for (const char* name : {"stat", "smaps", "io", "/proc/stat"}) {
                readAll(folder, name);
            }
            close(folder);
        }
    }
}

void Ps(benchmark::State& state)
{
    const char* words[] = {"ps", "-e", "-o", "pid,comm,time,pss", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t pid = 0;
        int status = 0;
        if (posix_spawnp(&pid, words[0], &actions, nullptr, const_cast<char**>(words), environ) != 0 ||
            waitpid(pid, &status, 0) != pid || status != 0) {
            state.SkipWithError("cannot be run: scripts/setup --bench installs it");
        }
    }
    posix_spawn_file_actions_destroy(&actions);
}

/// False when something could not be measured.
bool Measure(int mappedFiles)
{
    const Population population(
        {.processes = 1000, .mappedFiles = mappedFiles, .descriptors = 0, .volume = "/run/bench/volume"});
    const auto add = [](const char* name, auto run) {
        benchmark::RegisterBenchmark(name, run)
            ->Iterations(1)->Repetitions(25)->ReportAggregatesOnly()->UseRealTime();
    };
    add("library", [&](benchmark::State& state) { Library(state, population.Pids()); });
    add("bare reads", [&](benchmark::State& state) { BareReads(state, population.Pids()); });
    add("ps", Ps);
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    bool done = true;
    for (const char* peer : {"bare reads", "ps"}) {
        std::printf("%d mapped files each: ", mappedFiles);
        done = reporter.PrintRatio("library", peer) && done;
    }
    return done;
}

} // namespace

int main(int argc, char* argv[])
{
    benchmark::SetDefaultTimeUnit(benchmark::kMillisecond);
    InitializeInterleaved(argc, argv);
    bool done = true;
    for (int mappedFiles : {0, 40}) { // beside those of the program itself
        done = Measure(mappedFiles) && done;
    }
    return done ? 0 : 1;
}
