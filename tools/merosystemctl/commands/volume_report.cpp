#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iostream>

namespace MERO::Tool {
namespace {

using namespace MERO::Systemd;

const char* UseWord(FileUse use)
{
    switch (use) {
    case FileUse::WorkingDirectory:
        return "cwd";
    case FileUse::Executable:
        return "exe";
    case FileUse::Map:
        return "map";
    case FileUse::Root:
        return "root";
    default:
        return "fd";
    }
}

const char* KindWord(VolumeBlocker::Kind kind)
{
    switch (kind) {
    case VolumeBlocker::Kind::Mount:
        return "mount";
    case VolumeBlocker::Kind::LoopDevice:
        return "loop device";
    case VolumeBlocker::Kind::SwapFile:
        return "swap file";
    case VolumeBlocker::Kind::KernelExport:
        return "kernel export";
    default:
        return "process";
    }
}

const char* KindWord(StopCause::Kind kind)
{
    switch (kind) {
    case StopCause::Kind::DependsOnAll:
        return "all";
    case StopCause::Kind::RegisteredByUnit:
        return "unit";
    case StopCause::Kind::RegisteredByPackage:
        return "package";
    default:
        return "files";
    }
}

/// A cause in words: of which unit, when the one that stops is its master.
std::string CauseText(const PlannedStop& stop, const StopCause& cause)
{
    const std::string master = cause.unit != stop.unit ? "master of " + cause.unit + ", which " : "";
    switch (cause.kind) {
    case StopCause::Kind::DependsOnAll:
        return master + "depends on all volumes";
    case StopCause::Kind::RegisteredByUnit:
        return master + "registered the volume";
    case StopCause::Kind::RegisteredByPackage:
        return master + "belongs to package " + cause.package + ", which registered the volume";
    default:
        return master + "uses files";
    }
}

const std::string kNone = "-";

/// The cells that tell of a process' file.
Texts UserCells(const VolumeUser& user)
{
    return {std::to_string(user.pid), user.command, UseWord(user.use), user.file};
}

Texts BlockerRow(const VolumeBlocker& blocker)
{
    if (blocker.kind != VolumeBlocker::Kind::Process) {
        return {KindWord(blocker.kind), kNone, kNone, kNone, kNone, blocker.user.file};
    }
    Texts row{KindWord(blocker.kind), blocker.unit.empty() ? kNone : blocker.unit};
    const Texts cells = UserCells(blocker.user);
    row.insert(row.end(), cells.begin(), cells.end());
    return row;
}

std::vector<Texts> StopRows(const VolumeUnmountPlan& plan)
{
    std::vector<Texts> rows{{"SERVICE", "CAUSE", "PID", "COMMAND", "HOW", "FILE"}};
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            const Texts begin{stop.unit, CauseText(stop, cause)};
            if (cause.users.empty()) {
                rows.push_back({begin[0], begin[1], kNone, kNone, kNone, kNone});
            }
            for (const VolumeUser& user : cause.users) {
                Texts row = begin;
                const Texts cells = UserCells(user);
                row.insert(row.end(), cells.begin(), cells.end());
                rows.push_back(row);
            }
        }
    }
    return rows;
}

std::vector<Texts> BlockerRows(const VolumeUnmountPlan& plan)
{
    std::vector<Texts> rows{{"WHAT", "UNIT", "PID", "COMMAND", "HOW", "FILE"}};
    for (const VolumeBlocker& blocker : plan.blockers) {
        rows.push_back(BlockerRow(blocker));
    }
    return rows;
}

Json::Value UserToJson(const VolumeUser& user)
{
    Json::Value object(Json::objectValue);
    object["pid"] = user.pid;
    object["command"] = user.command;
    object["how"] = UseWord(user.use);
    object["file"] = user.file;
    return object;
}

Json::Value CauseToJson(const StopCause& cause)
{
    Json::Value object(Json::objectValue);
    object["cause"] = KindWord(cause.kind);
    object["unit"] = cause.unit;
    object["package"] = cause.package;
    object["users"] = Json::Value(Json::arrayValue);
    for (const VolumeUser& user : cause.users) {
        object["users"].append(UserToJson(user));
    }
    return object;
}

Json::Value BlockerToJson(const VolumeBlocker& blocker)
{
    Json::Value object(Json::objectValue);
    object["what"] = KindWord(blocker.kind);
    object["file"] = blocker.user.file;
    if (blocker.kind == VolumeBlocker::Kind::Process) {
        object["unit"] = blocker.unit;
        object["user"] = UserToJson(blocker.user);
    }
    return object;
}

void PrintPlan(const VolumeUnmountPlan& plan)
{
    if (plan.stops.empty()) {
        std::cout << "No service stops.\n";
    } else {
        PrintTable(StopRows(plan));
    }
    if (!plan.blockers.empty()) {
        std::cout << "\nThese keep it busy, although those services stop:\n\n";
        PrintTable(BlockerRows(plan));
    }
}

void PrintPlanAsJson(const VolumeUnmountPlan& plan)
{
    Json::Value object(Json::objectValue);
    object["stops"] = Json::Value(Json::arrayValue);
    for (const PlannedStop& stop : plan.stops) {
        Json::Value& entry = object["stops"].append(Json::objectValue);
        entry["unit"] = stop.unit;
        entry["causes"] = Json::Value(Json::arrayValue);
        for (const StopCause& cause : stop.causes) {
            entry["causes"].append(CauseToJson(cause));
        }
    }
    object["blockers"] = Json::Value(Json::arrayValue);
    for (const VolumeBlocker& blocker : plan.blockers) {
        object["blockers"].append(BlockerToJson(blocker));
    }
    PrintJson(object);
}

} // namespace

int ShowVolumePlan(const Texts& volumes, bool json)
{
    VolumeUnmountPlan plan;
    const std::string what = "planning to unmount " + ToCell(volumes);
    const WatchedWork work = Watch(what, [&](Progress&) { return MEROSystemdVolumeUnmountPlan(volumes, plan); });
    if (!work.done) {
        return ReportFailure(what, work.error);
    }
    json ? PrintPlanAsJson(plan) : PrintPlan(plan);
    return kDone;
}

void PrintHolders(const VolumeUnmountPlan& plan)
{
    const auto print = [](const VolumeUser& user) {
        PrintError("in use by process " + std::to_string(user.pid) + " (" + user.command + "), " + UseWord(user.use) +
                   ": " + user.file);
    };
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            std::for_each(cause.users.begin(), cause.users.end(), print);
        }
    }
    for (const VolumeBlocker& blocker : plan.blockers) {
        if (blocker.kind == VolumeBlocker::Kind::Process) {
            print(blocker.user);
        } else {
            PrintError(std::string("in use by a ") + KindWord(blocker.kind) + ": " + blocker.user.file);
        }
    }
}

} // namespace MERO::Tool
