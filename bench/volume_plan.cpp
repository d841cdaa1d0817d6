/// What does it cost to list the unit files, and to plan an unmount? With 1,000 and 5,000 unit files, 50 of them of
/// running services that have registered the volume: against `systemctl list-unit-files`, and against one `systemctl
/// show` of those services. Runs inside mero-sandbox.
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

constexpr int kFewUnits = 1000;
constexpr int kDependentUnits = 50; // the first ones
constexpr const char* kSystemctl = "/usr/bin/systemctl";
constexpr const char* kVolume = "/run/bench/volume";

std::string NameOf(int number)
{
    return "bench-" + std::to_string(number) + ".service";
}

std::vector<std::string> DependentUnits()
{
    std::vector<std::string> units;
    for (int i = 0; i < kDependentUnits; ++i) {
        units.push_back(NameOf(i));
    }
    return units;
}

bool MakeUnits(int first, int end)
{
    const std::string text = "[Service]\nType=oneshot\nRemainAfterExit=yes\nExecStart=/bin/true\n"
                             "[X-Tarvix]\nName=Bench\n";
    for (int i = first; i < end; ++i) {
        const bool isDependent = i < kDependentUnits;
        WriteUnit(NameOf(i), isDependent ? text + "VolumeDependency=partial\n" : text);
        if (isDependent && !MEROSystemdVolumeRegister(NameOf(i), kVolume)) {
            return false;
        }
    }
    LoadUnits();
    std::vector<std::string> failed;
    return MEROSystemdStart(DependentUnits(), failed);
}

void List(benchmark::State& state)
{
    for (auto _ : state) {
        std::vector<std::string> units;
        if (!MEROSystemdListUnits(units, "")) {
            state.SkipWithError("the unit files cannot be listed");
        }
    }
}

void Plan(benchmark::State& state)
{
    for (auto _ : state) {
        MERO::Systemd::VolumeUnmountPlan plan;
        if (!MEROSystemdVolumeUnmountPlan({kVolume}, plan) || plan.stops.size() != kDependentUnits) {
            state.SkipWithError("not the plan that was expected");
        }
    }
}

void Systemctl(benchmark::State& state, std::vector<std::string> words)
{
    words.insert(words.begin(), kSystemctl);
    std::string output;
    for (auto _ : state) {
        if (!ReadProgram(words, output)) {
            state.SkipWithError("systemctl cannot be run");
        }
    }
}

bool MeasureAmong(int units)
{
    std::vector<std::string> show = DependentUnits();
    show.insert(show.begin(), "show");
    const std::string files = std::to_string(units) + " unit files";
    const auto run = [](std::vector<std::string> words) {
        return [words = std::move(words)](benchmark::State& state) { Systemctl(state, words); };
    };
    const Candidate list{"list", List}, plan{"plan", Plan};
    const Results results =
        Measure({list, plan, {"show of the services", run(show)}}, {.iterations = 1, .repetitions = 15});
    bool done = results.PrintRatio("plan of an unmounting, " + files + ", 50 dependent services", "plan",
                                   "show of the services", units == kFewUnits ? std::optional(1.5) : std::nullopt) &&
                results.PrintPoint("list of unit files", units, "list") &&
                results.PrintPoint("plan of an unmounting, by unit files", units, "plan");
    if (units == kFewUnits) { // with more, systemctl takes minutes
        done = Measure({list, {"list-unit-files", run({"list-unit-files", "--no-legend", "--root=/."})}},
                       {.iterations = 1, .repetitions = 3})
                   .PrintRatio("list of " + files, "list", "list-unit-files", 0.02) &&
               done;
    }
    return done;
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    SetUpMachine();
    const Population population({.processes = 0, .mappedFiles = 0, .descriptors = 0, .volume = kVolume});
    bool done = true;
    for (int made = 0; const int units : {kFewUnits, 2 * kFewUnits, 5 * kFewUnits}) {
        if (!MakeUnits(made, units)) {
            std::fprintf(stderr, "no units to plan with\n");
            return 1;
        }
        made = units;
        done = MeasureAmong(units) && done;
    }
    return done ? 0 : 1;
}
