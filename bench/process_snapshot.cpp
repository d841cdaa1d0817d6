/// What does it cost to see what every process uses? Snapshots of 1,000 processes one after the other, with few mapped
/// files and with 40 more: the library, bare reads of the same files that ignore the content, and `ps` with the same
/// figures. Runs inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"
#include "population.h"

#include <merosystemd/resource.hpp>

#include <benchmark/benchmark.h>

#include <fcntl.h>
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

/// Only the system calls that any solution needs: the lower limit.
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
    for (auto _ : state) {
        if (!RunProgram({"ps", "-e", "-o", "pid,comm,time,pss"})) {
            state.SkipWithError("ps cannot be run");
        }
    }
}

/// Returns false if something could not be measured.
bool MeasureWith(int mappedFiles)
{
    const Population population(
        {.processes = 1000, .mappedFiles = mappedFiles, .descriptors = 0, .volume = "/run/bench/volume"});
    const Results results = Measure(
        {
            {"library", [&](benchmark::State& state) { Library(state, population.Pids()); }},
            {"bare reads", [&](benchmark::State& state) { BareReads(state, population.Pids()); }},
            {"ps", Ps},
        },
        {.iterations = 1, .repetitions = 60});
    const std::string question =
        "snapshots of 1,000 processes, " + std::to_string(mappedFiles) + " mapped files each beside the program's own";
    return results.PrintRatio(question, "library", "bare reads", 1.2) &&
           results.PrintRatio(question, "library", "ps", 1.0);
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    bool done = true;
    for (int mappedFiles : {0, 40}) {
        done = MeasureWith(mappedFiles) && done;
    }
    return done ? 0 : 1;
}
