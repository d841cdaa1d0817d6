#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "output/times.h"
#include "running/command_within.h"
#include "running/lock_owner.h"
#include "running/run_command.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <iostream>
#include <memory>
#include <utility>

namespace MERO::Tool {
namespace {

using MERO::Systemd::FullVolumeUnmountPlan;
using MERO::Systemd::VolumeUnmountState;

/// The units that the plan stops, and those of them that start again.
struct Stops {
    explicit Stops(const FullVolumeUnmountPlan& plan)
    {
        for (const MERO::Systemd::PlannedStop& stop : plan.stops) {
            all.push_back(stop.unit);
            comingBack.push_back(stop.unit);
        }
        for (const MERO::Systemd::PlannedDependent& dependent : plan.dependents) {
            all.push_back(dependent.unit);
            if (dependent.startsAgain) {
                comingBack.push_back(dependent.unit);
            }
        }
    }

    Texts all;
    Texts comingBack;
};

/// Prints which process the library is about to wait for, up to an hour.
void SayWhoIsWaitedFor()
{
    const std::pair<const char*, const char*> locks[] = {
        {"/run/merosystemd/locks/volume-unmount-action.lock", "another unmount"},
        {"/run/merosystemd/locks/isolate-and-volume-unmount-action.lock", "an isolation"},
    };
    for (const auto& [path, what] : locks) {
        const std::string owner = LockOwner(path);
        if (!owner.empty()) {
            std::cerr << "waiting for " << what << " to end: " << owner << std::endl;
            return;
        }
    }
}

/// Runs while the services are stopped: whatever uses the volumes now is in the way.
void ReportHolders(const Texts& volumes)
{
    MERO::Systemd::VolumeUnmountPlan plan;
    if (MEROSystemdVolumeUnmountPlan(volumes, plan)) {
        PrintHolders(plan);
    }
}

/// Whether to carry out the plan. Prints what it stops, and what is in the way.
bool Agree(const FullVolumeUnmountPlan& plan, bool force)
{
    PrintBlockers(plan.blockers);
    if (!plan.blockers.empty() && !force) {
        PrintError("nothing was stopped: the volume would stay busy (--force goes on anyway)");
        return false;
    }
    const Texts units = Stops(plan).all;
    std::cout << (units.empty() ? "no service stops" : "stopping: " + ToCell(units)) << std::endl;
    return true;
}

int Unmount(const Texts& volumes, const Texts& command, bool force)
{
    if (!IsRunnable(command)) {
        return kUsage;
    }
    SayWhoIsWaitedFor();
    Texts units;
    bool isRefused = false;
    const auto run = [&] {
        const int code = RunCommand(command);
        if (code != kDone && IsOwnExitCode(code)) {
            ReportHolders(volumes);
        }
        return code;
    };
    const auto action = [&](const CommandWithin::Begin& begin, std::function<bool()> callback) {
        const auto agree = [&](const FullVolumeUnmountPlan& plan) {
            isRefused = !Agree(plan, force);
            if (!isRefused) {
                units = Stops(plan).comingBack;
                begin("interrupted" + (units.empty() ? "" : ": starting " + ToCell(units) + " again"));
            }
            return !isRefused;
        };
        return MEROSystemdVolumeUnmountWithPlan(volumes, agree, callback) || isRefused;
    };
    return RunWithin({
        .action = action,
        .run = run,
        .report = [&] { return ReportReturn(units); },
        .name = command.front(),
        .before = "stopping what uses " + ToCell(volumes),
        .after = "starting the services again",
        .planning = "planning to unmount " + ToCell(volumes),
    });
}

const char* StateWord(VolumeUnmountState::Kind kind)
{
    switch (kind) {
    case VolumeUnmountState::Kind::Running:
        return "running";
    case VolumeUnmountState::Kind::Interrupted:
        return "interrupted";
    default:
        return "none";
    }
}

int PrintUnmountState(bool json)
{
    VolumeUnmountState state;
    if (!MEROSystemdVolumeUnmountStateGet(state)) {
        return ReportFailure("reading the state of the last unmount");
    }
    const bool isInterrupted = state.kind == VolumeUnmountState::Kind::Interrupted;
    if (json) {
        Json::Value object(Json::objectValue);
        object["state"] = StateWord(state.kind);
        object["volumes"] = ToJson(state.volumes);
        object["units"] = ToJson(state.units);
        object["since"] = static_cast<Json::Int64>(state.since);
        object["pid"] = state.pid;
        PrintJson(object);
    } else if (state.kind == VolumeUnmountState::Kind::None) {
        std::cout << "no unmount has stopped services\n";
    } else {
        std::cout << "an unmount of " << ToCell(state.volumes) << " by process " << state.pid
                  << (isInterrupted ? " was interrupted" : " is running") << "; it began " << AgeText(state.since)
                  << " ago\nstopped for it: " << ToCell(state.units) << '\n'
                  << (isInterrupted ? "  -> merosystemctl volume recover\n" : "");
    }
    if (isInterrupted) {
        return kFailed;
    }
    return state.kind == VolumeUnmountState::Kind::Running ? kDone : kNotActive;
}

int Recover()
{
    VolumeUnmountState state;
    if (!MEROSystemdVolumeUnmountStateGet(state)) {
        return ReportFailure("reading the state of the last unmount");
    }
    if (state.kind != VolumeUnmountState::Kind::Interrupted) {
        std::cout << "no unmount was interrupted: nothing to do\n";
        return kDone;
    }
    const std::string what = "starting " + ToCell(state.units);
    const WatchedWork work = Watch(what, [&](Progress&) { return MEROSystemdVolumeUnmountRecover(); });
    if (!ReportReturn(state.units)) {
        return kFailed;
    }
    return work.done ? kDone : ReportFailure(what, work.error);
}

} // namespace

void AddVolumeUnmountCommand(const Command& volume)
{
    struct Arguments {
        Texts volumes;
        Texts command;
        bool dryRun = false;
        bool force = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = volume.AddCommand("unmount", "Stop the services using a volume, unmount it, restart them");
    TakeVolumes(command.AddOperand("VOLUME", arguments->volumes, "Mount paths"));
    const Argument dryRun =
        command.AddFlag("--dry-run", arguments->dryRun, "Show what would stop, as 'volume plan' does");
    command.AddFlag("--force", arguments->force, "Go on even if something else keeps the volume busy");
    command.AddFlag("--json", arguments->json, "With --dry-run: as a JSON object").Needs(dryRun);
    command.TakeAfterDashes(arguments->command, "[-- COMMAND...]");
    command.SetNote("COMMAND unmounts the volumes. The default is umount VOLUME...");
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
        return Unmount(arguments->volumes, words, arguments->force);
    });

    const Command state = volume.AddCommand("state", "Show whether an unmount is running or was interrupted");
    state.AddFlag("--json", arguments->json, "As a JSON object");
    state.OnCall([arguments] { return PrintUnmountState(arguments->json); });

    const Command recover = volume.AddCommand("recover", "Start the services that an interrupted unmount stopped");
    recover.OnCall(Recover);
}

} // namespace MERO::Tool
