#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/run_command.h"

#include <merosystemd/systemd.hpp>

#include <memory>

namespace MERO::Tool {
namespace {

constexpr int kMaxPid = 4194304; // PID_MAX_LIMIT of 64-bit kernels

int Show(int pid, bool json)
{
    std::string unit;
    std::string systemd;
    std::string monitor;
    const bool hasUnit = MEROSystemdGetByPid(pid, unit);
    const bool hasSystemd = MEROSystemdCgroupPathnameGet(pid, "name=systemd", systemd);
    const bool hasMonitor = MEROSystemdCgroupPathnameGet(pid, "name=meromonitor", monitor);
    if (!hasUnit && !hasSystemd && !hasMonitor) {
        PrintError(std::to_string(pid) + ": there is no such process, or systemd has no cgroup for it");
        return kFailed;
    }
    if (json) {
        Json::Value object(Json::objectValue);
        object["pid"] = pid;
        object["unit"] = unit;
        object["systemd"] = systemd;
        object["meromonitor"] = monitor;
        PrintJson(object);
    } else {
        const auto cell = [](const std::string& text) { return text.empty() ? "-" : text; };
        PrintFields({{"Unit", cell(unit)}, {"systemd", cell(systemd)}, {"meromonitor", cell(monitor)}});
    }
    return kDone;
}

struct Move {
    std::string slice;
    bool monitorOnly = false;
    bool toRoot = false;
    Texts command;
};

int MoveAndRun(const Move& move)
{
    const Texts& command = move.command;
    if (command.empty() || move.slice.empty() != move.toRoot) {
        PrintError("missing command: cgroup move SLICE -- COMMAND..., or --root in place of SLICE");
        return kUsage;
    }
    if (!IsRunnable(command)) {
        return kUsage;
    }
    const bool moved = move.toRoot        ? MEROSystemdRunAsSystemProcess()
                       : move.monitorOnly ? MEROSystemdCgroupMonitorSliceMove(move.slice)
                                          : MEROSystemdCgroupSystemdSliceMove(move.slice);
    if (!moved) {
        return ReportFailure("moving to " + (move.toRoot ? std::string("the root") : move.slice));
    }
    const SignalsToCommand signals;
    return RunCommand(command);
}

} // namespace

void AddCgroupCommands(const Command& program)
{
    const Command cgroup = program.AddGroup("cgroup", "Show and change the cgroups of processes");

    struct Arguments {
        int pid = 0;
        bool json = false;
        Move move;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command show = cgroup.AddCommand("show", "Show the unit and the cgroups of a process");
    show.AddOperand("PID", arguments->pid, "A process ID").MustLie(1, kMaxPid);
    show.AddFlag("--json", arguments->json, "As a JSON object");
    show.OnCall([arguments] { return Show(arguments->pid, arguments->json); });

    const Command move = cgroup.AddCommand("move", "Run a command in a slice");
    move.AddOptionalOperand("SLICE", arguments->move.slice, "A slice, in systemd's and the monitor's hierarchy");
    const Argument only =
        move.AddFlag("--monitor-only", arguments->move.monitorOnly, "Move in the monitor's hierarchy only");
    move.AddFlag("--root", arguments->move.toRoot, "In place of SLICE: the root of systemd's hierarchy").Excludes(only);
    move.TakeAfterDashes(arguments->move.command, "-- COMMAND...");
    move.OnCall([arguments] { return MoveAndRun(arguments->move); });
}

} // namespace MERO::Tool
