/// How does cost grow with the units of a list, and with the drop-ins of a unit? A start of 1 to 1,000 units and the
/// uninstallation of a unit with 1 to 100 drop-ins, with a systemctl that answers immediately.
#include "measure.h"
#include "peer_program.h"

#include <merosystemd/systemd.hpp>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace MERO::Bench;

const std::string kFolder = "/tmp/bench-growth";

bool MeasureStart(int count)
{
    std::vector<std::string> units;
    for (int unit = 0; unit < count; ++unit) {
        units.push_back("bench-" + std::to_string(unit) + ".service");
    }
    const auto start = [&](benchmark::State& state) {
        for (auto _ : state) {
            std::vector<std::string> failed;
            if (!MEROSystemdStart(units, failed)) {
                state.SkipWithError("a start failed");
            }
        }
    };
    return Measure({{"start", start}}, {.iterations = 20, .repetitions = 9})
        .PrintPoint("units of a list", count, "start");
}

bool MeasureUninstall(int dropIns)
{
    std::ofstream paths(kFolder + "/paths", std::ios::trunc);
    paths << "FragmentPath=" << kFolder << "/bench.service\nDropInPaths=";
    for (int dropIn = 0; dropIn < dropIns; ++dropIn) {
        paths << kFolder << "/bench.service.d/" << dropIn << ".conf ";
    }
    paths.close();
    const auto uninstall = [](benchmark::State& state) {
        for (auto _ : state) {
            if (!MEROSystemdUninstall(std::string("bench.service"))) {
                state.SkipWithError("an uninstallation failed");
            }
        }
    };
    return Measure({{"uninstall", uninstall}}, {.iterations = 2, .repetitions = 9})
        .PrintPoint("drop-ins of a unit that is uninstalled", dropIns, "uninstall");
}

} // namespace

int main(int argc, char* argv[])
{
    Initialize(argc, argv);
    std::filesystem::create_directories(kFolder);
    const std::string systemctl = kFolder + "/systemctl";
    std::ofstream(systemctl, std::ios::trunc) << "#!/bin/sh\n[ \"$1\" != show ] || cat " << kFolder << "/paths\n";
    std::filesystem::permissions(systemctl, std::filesystem::perms::owner_all);
    ReplaceSystemctl(systemctl);
    bool done = true;
    for (int units : {1, 10, 100, 1'000}) {
        done = MeasureStart(units) && done;
    }
    for (int dropIns : {1, 10, 100}) {
        done = MeasureUninstall(dropIns) && done;
    }
    std::filesystem::remove_all(kFolder);
    return done ? 0 : 1;
}
