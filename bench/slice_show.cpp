/// What does it cost to see what a slice uses? 500 processes in a slice, with 40 mapped files and 30 descriptors each:
/// `merosystemctl slice show` with 1 ms between its two readings, the library's snapshot alone, one run of
/// `systemd-cgtop`, which only counts the processes here, and an awk that adds up the Pss of the same processes. Runs
/// inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"
#include "population.h"
#include "sandbox_units.h"

#include <merosystemd/resource.hpp>

#include <sys/types.h>

#include <exception>
#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

constexpr int kProcesses = 500;
constexpr const char* kSlice = "bench.slice";

/// Moves the processes to the tracked slice, and to systemd's slice of the same name.
void MoveToSlice(const std::vector<pid_t>& pids)
{
    for (const std::string hierarchy : {"meromonitor", "systemd"}) {
        for (const pid_t pid : pids) {
            WriteText("/sys/fs/cgroup/" + hierarchy + "/" + kSlice + "/cgroup.procs", std::to_string(pid));
        }
    }
}

void Library(benchmark::State& state)
{
    for (auto _ : state) {
        try {
            if (MERO::Systemd::Slice(kSlice).ProcessesGet().size() != kProcesses) {
                state.SkipWithError("not the processes that are there");
            }
        } catch (const std::exception&) {
            state.SkipWithError("the slice cannot be read");
        }
    }
}

/// The commands that operators type without a better tool.
std::vector<std::string> PssOneLiner(const std::vector<pid_t>& pids)
{
    std::vector<std::string> words{"awk",
                                   "/^Pss:/ { sum[FILENAME] += $2 } END { for (file in sum) print file, sum[file] }"};
    for (const pid_t pid : pids) {
        words.push_back("/proc/" + std::to_string(pid) + "/smaps");
    }
    return words;
}

void Program(benchmark::State& state, const std::vector<std::string>& words)
{
    for (auto _ : state) {
        if (!RunProgram(words)) {
            state.SkipWithError("cannot be run");
        }
    }
}

bool MeasureSlice(const std::vector<pid_t>& pids)
{
    const char* show = "merosystemctl slice show";
    const char* oneLiner = "awk over smaps";
    const char* cgtop = "systemd-cgtop, once";
    const Results results = Measure(
        {
            {"library", Library},
            {show,
             [](benchmark::State& state) {
                 Program(state, {MEROSYSTEMCTL, "slice", "show", "--interval", "0.001", kSlice});
             }},
            {oneLiner, [&](benchmark::State& state) { Program(state, PssOneLiner(pids)); }},
            {cgtop,
             [](benchmark::State& state) {
                 Program(state, {"systemd-cgtop", "--batch", "--iterations=1"});
             }},
        },
        {.iterations = 1, .repetitions = 41});
    const std::string whole = "use of a slice with 500 processes, an interval of 1 ms included";
    const std::string part = "snapshot of a slice with 500 processes";
    return results.PrintRatio(whole, show, cgtop, 1.0) && results.PrintRatio(whole, show, oneLiner, 1.0) &&
           results.PrintRatio(part, "library", cgtop, 1.0) && results.PrintRatio(part, "library", oneLiner, 1.0);
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    SetUpMachine();
    WriteUnit(kSlice, "[Slice]\n[X-Tarvix]\nName=Bench\n");
    LoadUnits();
    StartUnit(kSlice);
    bool done = false;
    {
        const Population population(
            {.processes = kProcesses, .mappedFiles = 40, .descriptors = 30, .volume = "/run/bench/volume"});
        MoveToSlice(population.Pids());
        done = MeasureSlice(population.Pids());
    }
    std::filesystem::remove("/sys/fs/cgroup/meromonitor/" + std::string(kSlice));
    return done ? 0 : 1;
}
