/// What does it cost to find the failed units in systemctl's messages? A start of 200 units that fails with 1,000
/// lines, against only reading the same lines; and how that grows with the units and with the lines.
#include "measure.h"
#include "peer_program.h"

#include <merosystemd/systemd.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

std::string UnitName(int number)
{
    return "bench-" + std::to_string(number) + ".service";
}

void WriteMessages(const std::string& file, int lines)
{
    std::ofstream text(file, std::ios::trunc);
    for (int line = 0; line < lines; ++line) {
        if (line % 5 == 0) {
            text << "Job for " << UnitName(line / 5) << " failed because the control process exited with error code.\n";
        } else {
            text << "See \"systemctl status " << UnitName(line / 5) << "\" and \"journalctl -xe\" for details.\n";
        }
    }
}

void Start(benchmark::State& state, const std::vector<std::string>& units)
{
    for (auto _ : state) {
        std::vector<std::string> failed;
        if (MEROSystemdRestart(units, failed) || failed.empty()) {
            state.SkipWithError("nothing failed");
        }
    }
}

void ReadLines(benchmark::State& state, const std::vector<std::string>& units)
{
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            MEROSystemdSystemctl("restart", units, [](int, const auto& lines) { return !lines.empty(); }));
    }
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    const std::string folder = "/tmp/bench-failed-units";
    std::filesystem::create_directories(folder);
    const std::string systemctl = folder + "/systemctl";
    std::ofstream(systemctl, std::ios::trunc) << "#!/bin/sh\ncat " << folder << "/messages\nexit 1\n";
    std::filesystem::permissions(systemctl, std::filesystem::perms::owner_all);
    ReplaceSystemctl(systemctl);

    bool done = true;
    const auto measure = [&](int lines, int count) {
        WriteMessages(folder + "/messages", lines);
        std::vector<std::string> units;
        for (int unit = 0; unit < count; ++unit) {
            units.push_back(UnitName(unit));
        }
        return Measure(
            {
                {"library", [&](benchmark::State& state) { Start(state, units); }},
                {"reading the lines", [&](benchmark::State& state) { ReadLines(state, units); }},
            },
            {.iterations = 5, .repetitions = 15});
    };
    for (int lines : {10, 100, 1'000, 10'000}) {
        const Results results = measure(lines, 200);
        done = results.PrintPoint("failed units, by lines", lines, "library") && done;
        if (lines == 1'000) {
            done = results.PrintRatio("failed units of 200, 1,000 lines", "library", "reading the lines", {}) && done;
        }
    }
    for (int units : {1, 10, 100, 1'000}) {
        done = measure(1'000, units).PrintPoint("failed units, by units", units, "library") && done;
    }
    std::filesystem::remove_all(folder);
    return done ? 0 : 1;
}
