/// What does it cost to find the services that use a volume? Asks for 100, 1,000 and 4,000 processes, each with 40
/// mapped files and 30 descriptors: the library, a bare walk that reads the same links and maps and looks at nothing,
/// `fuser -m`, and `lsof +f --`, in turns. Prints the medians' ratios. Runs inside mero-sandbox.
#include "median_reporter.h"
#include "population.h"

#include <merosystemd/systemd.hpp>

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

constexpr const char* kVolume = "/run/bench/volume";

void Library(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::string> services;
        if (!MEROSystemdServiceListByMntPath(kVolume, services)) {
            state.SkipWithError("/proc cannot be read");
        }
    }
}

template <typename Take>
void ForEachName(int directory, Take&& take)
{
    static char buffers[2][32 * 1024]; // of /proc, and of a process' folder
    static int depth = 0;
    char* buffer = buffers[depth++];
    for (ssize_t count; (count = getdents64(directory, buffer, sizeof buffers[0])) > 0;) {
        for (ssize_t offset = 0; offset < count;) {
            const auto* entry = reinterpret_cast<const dirent64*>(buffer + offset);
            if (entry->d_name[0] != '.') {
                take(entry->d_name);
            }
            offset += entry->d_reclen;
        }
    }
    --depth;
}

/// The system calls without which nobody can know: what is between them is the limit.
void BareWalk(benchmark::State& state)
{
    static char text[256 * 1024];
    for (auto _ : state) {
        const int proc = open("/proc", O_RDONLY | O_DIRECTORY);
        ForEachName(proc, [&](const char* name) {
            if (!std::isdigit(static_cast<unsigned char>(name[0]))) {
                return;
            }
            const int process = openat(proc, name, O_RDONLY | O_DIRECTORY);
            benchmark::DoNotOptimize(readlinkat(process, "cwd", text, sizeof text));
            benchmark::DoNotOptimize(readlinkat(process, "exe", text, sizeof text));
            const int descriptors = openat(process, "fd", O_RDONLY | O_DIRECTORY);
            ForEachName(descriptors, [&](const char* number) {
                benchmark::DoNotOptimize(readlinkat(descriptors, number, text, sizeof text));
            });
            close(descriptors);
            const int maps = openat(process, "maps", O_RDONLY);
            while (read(maps, text, sizeof text) > 0) {
            }
            close(maps);
            close(process);
        });
        close(proc);
    }
}

void Program(benchmark::State& state, std::vector<const char*> words)
{
    words.push_back(kVolume);
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int output : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    }
    for (auto _ : state) {
        pid_t pid = 0;
        int status = 0;
        if (posix_spawnp(&pid, words[0], &actions, nullptr, const_cast<char**>(words.data()), environ) != 0 ||
            waitpid(pid, &status, 0) != pid || status != 0) {
            state.SkipWithError("cannot be run: scripts/setup --bench installs it");
        }
    }
    posix_spawn_file_actions_destroy(&actions);
}

/// False when something could not be measured.
bool Measure(int processes)
{
    const Population population({.processes = processes, .mappedFiles = 40, .descriptors = 30, .volume = kVolume});
    struct Candidate {
        const char* name;
        std::function<void(benchmark::State&)> run;
    };
    const Candidate candidates[] = {
        {"library", Library},
        {"bare walk", BareWalk},
        {"fuser -m", [](benchmark::State& state) { Program(state, {"fuser", "-m"}); }},
        {"lsof +f --", [](benchmark::State& state) { Program(state, {"lsof", "+f", "--"}); }},
    };
    for (const Candidate& candidate : candidates) {
        benchmark::RegisterBenchmark(candidate.name, candidate.run)
            ->Iterations(processes > 100 ? 1 : 5)->Repetitions(25)->ReportAggregatesOnly()->UseRealTime();
    }
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::ClearRegisteredBenchmarks();
    bool done = true;
    for (const char* peer : {"bare walk", "fuser -m", "lsof +f --"}) {
        std::printf("%d processes: ", processes);
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
    for (int processes : {100, 1000, 4000}) {
        done = Measure(processes) && done;
    }
    return done ? 0 : 1;
}
