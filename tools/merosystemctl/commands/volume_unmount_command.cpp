#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/command_within.h"
#include "running/run_command.h"

#include <merosystemd/systemd.hpp>

#include <mntent.h>

#include <iostream>
#include <memory>
#include <set>
#include <utility>

namespace MERO::Tool {
namespace {

using MERO::Systemd::VolumeUnmountPlan;

/// Says which of the volumes are not mounted: nothing need stop for an umount that must fail.
bool AreMounted(const Texts& volumes)
{
    std::set<std::string> mounts;
    const std::unique_ptr<FILE, decltype(&endmntent)> table(setmntent("/proc/self/mounts", "re"), endmntent);
    while (const mntent* mount = table != nullptr ? getmntent(table.get()) : nullptr) {
        mounts.insert(mount->mnt_dir);
    }
    bool done = true;
    for (const std::string& volume : volumes) {
        if (!mounts.contains(volume)) {
            PrintError(volume + ": is not mounted");
            done = false;
        }
    }
    return done;
}

Texts StoppedUnits(const VolumeUnmountPlan& plan)
{
    Texts units;
    for (const MERO::Systemd::PlannedStop& stop : plan.stops) {
        units.push_back(stop.unit);
    }
    return units;
}

/// Says which units run again, and which do not. False when there is one of those.
bool ReportReturn(const Texts& units)
{
    Texts running;
    Texts missing;
    for (const std::string& unit : units) {
        const bool runs = MEROSystemdActiveStatusGet(unit) == MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE;
        (runs ? running : missing).push_back(unit);
    }
    if (!running.empty()) {
        std::cout << "running again: " << ToCell(running) << '\n';
    }
    for (const std::string& unit : missing) {
        PrintError(unit + ": does not run again");
    }
    return missing.empty();
}

/// Asked while the services are stopped: who is still there, is in the way.
void ReportHolders(const Texts& volumes)
{
    VolumeUnmountPlan plan;
    if (MEROSystemdVolumeUnmountPlan(volumes, plan)) {
        PrintHolders(plan);
    }
}

int Unmount(const Texts& volumes, const Texts& command)
{
    VolumeUnmountPlan plan;
    if (!IsRunnable(command)) {
        return kUsage;
    }
    if (!MEROSystemdVolumeUnmountPlan(volumes, plan)) {
        return ReportFailure("planning to unmount " + ToCell(volumes));
    }
    const Texts units = StoppedUnits(plan);
    std::cout << (units.empty() ? "no service stops" : "stopping: " + ToCell(units)) << std::endl;

    const auto run = [&] {
        const int code = RunCommand(command);
        if (code != kDone && IsOwnExitCode(code)) {
            ReportHolders(volumes);
        }
        return code;
    };
    return RunWithin({
        .action = [&](auto callback) { return _MEROSystemdVolumeUnmountAction(volumes, std::move(callback)); },
        .run = run,
        .report = [&] { return ReportReturn(units); },
        .name = command.front(),
        .before = "stopping what uses " + ToCell(volumes),
        .after = "starting the services again",
    });
}

} // namespace

void AddVolumeUnmountCommand(const Command& volume)
{
    struct Arguments {
        Texts volumes;
        Texts command;
        bool dryRun = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = volume.AddCommand("unmount", "Stop what uses volumes, unmount, and start it again");
    command.AddOperand("VOLUME", arguments->volumes, "Mount paths").MustPass(VolumeFault);
    const Argument dryRun = command.AddFlag("--dry-run", arguments->dryRun, "Show what would stop, as volume plan");
    command.AddFlag("--json", arguments->json, "With --dry-run: as a JSON object").Needs(dryRun);
    command.TakeBehindDashes(arguments->command, "[-- COMMAND...]");
    command.SetNote("COMMAND unmounts; without one: umount VOLUME...");
    command.OnCall([arguments]() -> int {
        if (arguments->dryRun) {
            return ShowVolumePlan(arguments->volumes, arguments->json);
        }
        Texts words = arguments->command;
        if (words.empty()) {
            if (!AreMounted(arguments->volumes)) {
                return kFailed;
            }
            words.emplace_back("umount");
            words.insert(words.end(), arguments->volumes.begin(), arguments->volumes.end());
        }
        return Unmount(arguments->volumes, words);
    });
}

} // namespace MERO::Tool
