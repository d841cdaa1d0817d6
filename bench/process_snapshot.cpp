/// What does it cost to see what every process uses? Snapshots of 1,000 processes, each with 40 mapped files, one after
/// the other: the library, bare reads of the same files that look at nothing, and `ps` with the same figures, in turns.
/// Prints the medians' ratios. Runs inside mero-sandbox.
#include "median_reporter.h"
#include "population.h"

#include <merosystemd/resource.hpp>

#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

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

} // namespace

int main(int argc, char* argv[])
{
    benchmark::SetDefaultTimeUnit(benchmark::kMillisecond);
    InitializeInterleaved(argc, argv);
    const Population population(
        {.processes = 1000, .mappedFiles = 40, .descriptors = 0, .volume = "/run/bench/volume"});
    const auto measure = [](const char* name, auto run) {
        benchmark::RegisterBenchmark(name, run)
            ->Iterations(3)->Repetitions(9)->ReportAggregatesOnly()->UseRealTime();
    };
    measure("library", [&](benchmark::State& state) { Library(state, population.Pids()); });
    measure("bare reads", [&](benchmark::State& state) { BareReads(state, population.Pids()); });
    measure("ps", Ps);
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool isBareRatioKnown = reporter.PrintRatio("library", "bare reads");
    return reporter.PrintRatio("library", "ps") && isBareRatioKnown ? 0 : 1;
}
