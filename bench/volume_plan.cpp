/// What does the library add to the systemctl runs in the plan of an unmounting? 1,000 unit files, 50 of which belong
/// to services that run and have registered the volume: the plan, and the same systemctl runs with their output read.
/// Runs inside mero-sandbox.
#include "measure.h"
#include "peer_program.h"
#include "population.h"
#include "sandbox_units.h"

#include <merosystemd/systemd.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

constexpr int kUnits = 1000;
constexpr int kDependentUnits = 50;
constexpr const char* kSystemctl = "/usr/bin/systemctl";
constexpr const char* kVolume = "/run/bench/volume";

std::string NameOf(int number)
{
    return "bench-" + std::to_string(number) + ".service";
}

bool IsDependent(int number)
{
    return number % (kUnits / kDependentUnits) == 0;
}

bool MakeUnits()
{
    const std::string text = "[Service]\nType=oneshot\nRemainAfterExit=yes\nExecStart=/bin/true\n"
                             "[X-Tarvix]\nName=Bench\n";
    std::vector<std::string> start{"systemctl", "start"};
    for (int i = 0; i < kUnits; ++i) {
        WriteUnit(NameOf(i), IsDependent(i) ? text + "VolumeDependency=partial\n" : text);
        if (IsDependent(i)) {
            start.push_back(NameOf(i));
            if (!MEROSystemdVolumeRegister(NameOf(i), kVolume)) {
                return false;
            }
        }
    }
    LoadUnits();
    return RunProgram(start);
}

void Library(benchmark::State& state)
{
    for (auto _ : state) {
        MERO::Systemd::VolumeUnmountPlan plan;
        if (!MEROSystemdVolumeUnmountPlan({kVolume}, plan) || plan.stops.size() != kDependentUnits) {
            state.SkipWithError("not the plan that was expected");
        }
    }
}

void BareRuns(benchmark::State& state)
{
    std::string output;
    for (auto _ : state) {
        bool done = ReadProgram({kSystemctl, "list-unit-files", "--no-legend", "--root=/."}, output);
        for (int i = 0; i < kUnits; ++i) {
            if (IsDependent(i)) {
                done = done && ReadProgram({kSystemctl, "show", "--property", "ActiveState", NameOf(i)}, output);
            }
        }
        if (!done) {
            state.SkipWithError("systemctl cannot be run");
        }
    }
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    SetUpMachine();
    if (!MakeUnits()) {
        std::fprintf(stderr, "no units to plan with\n");
        return 1;
    }
    const Population population({.processes = 0, .mappedFiles = 0, .descriptors = 0, .volume = kVolume});
    const Results results =
        Measure({{"library", Library}, {"systemctl alone", BareRuns}}, {.iterations = 1, .repetitions = 9});
    return results.PrintRatio("plan of an unmounting, 1,000 unit files, 50 dependent services", "library",
                              "systemctl alone", 1.15)
               ? 0
               : 1;
}
