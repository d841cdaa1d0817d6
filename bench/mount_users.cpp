/// What does it cost to find the services that use a volume? Among 100, 1,000 and 4,000 processes, each with 40 mapped
/// files and 30 descriptors: the library, a bare walk that reads the same links and maps and ignores them, `fuser -m`,
/// and `lsof +f --`. Runs inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"
#include "population.h"

#include <merosystemd/systemd.hpp>

#include <benchmark/benchmark.h>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <cctype>
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
    static char buffers[2][32 * 1024]; // for /proc, and for a process' folder
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

/// Only the system calls that any solution needs: the lower limit.
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

void Program(benchmark::State& state, const std::vector<std::string>& words)
{
    for (auto _ : state) {
        if (!RunProgram(words)) {
            state.SkipWithError("cannot be run: scripts/setup --bench installs it");
        }
    }
}

/// Returns false if something could not be measured.
bool MeasureAmong(int processes)
{
    const Population population({.processes = processes, .mappedFiles = 40, .descriptors = 30, .volume = kVolume});
    const int iterations = processes > 100 ? 1 : 5;
    const Candidate library{"library", Library};
    // The library is close to the limit: more runs are needed to see a difference.
    const Results walks = Measure({library, {"bare walk", BareWalk}}, {.iterations = iterations, .repetitions = 75});
    const Results programs = Measure(
        {
            library,
            {"fuser -m",
             [](benchmark::State& state) {
                 Program(state, {"fuser", "-m", kVolume});
             }},
            {"lsof +f --",
             [](benchmark::State& state) {
                 Program(state, {"lsof", "+f", "--", kVolume});
             }},
        },
        {.iterations = iterations, .repetitions = 15});
    const std::string question = "users of a mount path, " + std::to_string(processes) + " processes";
    return walks.PrintRatio(question, "library", "bare walk", 1.15) &&
           programs.PrintRatio(question, "library", "fuser -m", 0.80) &&
           programs.PrintRatio(question, "library", "lsof +f --", 0.35) &&
           walks.PrintPoint("users of a mount path, by processes", processes, "library");
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    bool done = true;
    for (int processes : {100, 1000, 4000}) {
        done = MeasureAmong(processes) && done;
    }
    return done ? 0 : 1;
}
