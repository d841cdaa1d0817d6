#include "commands/volume_report.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <mntent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <set>

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
    case VolumeBlocker::Kind::BindMount:
        return "bind mount";
    case VolumeBlocker::Kind::MountNamespace:
        return "mount namespace";
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

/// A cause in words. If the stopped unit is the master of another one, it names that one.
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

/// The cells that describe a process' file.
Texts UserCells(const VolumeUser& user)
{
    return {std::to_string(user.pid), user.command, UseWord(user.use), user.file};
}

/// The command that removes a blocker.
std::string Remedy(const VolumeBlocker& blocker)
{
    const std::string pid = std::to_string(blocker.user.pid);
    const bool isService = blocker.unit.ends_with(".service");
    switch (blocker.kind) {
    case VolumeBlocker::Kind::Mount:
    case VolumeBlocker::Kind::BindMount:
        return "umount " + blocker.user.file;
    case VolumeBlocker::Kind::LoopDevice:
        return "losetup --detach " + blocker.user.command;
    case VolumeBlocker::Kind::SwapFile:
        return "swapoff " + blocker.user.file;
    case VolumeBlocker::Kind::KernelExport:
        return "exportfs -u CLIENT:" + blocker.user.file;
    case VolumeBlocker::Kind::MountNamespace:
        return isService ? "merosystemctl stop " + blocker.unit
                         : "nsenter --mount --target " + pid + " umount " + blocker.user.file;
    default:
        return isService ? "merosystemctl stop " + blocker.unit : "kill " + pid;
    }
}

Texts BlockerRow(const VolumeBlocker& blocker)
{
    if (blocker.user.pid == 0) {
        return {KindWord(blocker.kind), kNone, kNone, kNone, kNone, blocker.user.file};
    }
    const Texts cells = UserCells(blocker.user);
    Texts row{KindWord(blocker.kind), blocker.unit.empty() ? kNone : blocker.unit};
    row.insert(row.end(), cells.begin(), cells.end());
    if (blocker.kind == VolumeBlocker::Kind::MountNamespace) {
        row[4] = kNone; // it uses no file
    }
    return row;
}

std::vector<Texts> StopRows(const FullVolumeUnmountPlan& plan)
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
    for (const PlannedDependent& dependent : plan.dependents) {
        const char* again = dependent.startsAgain ? "" : ", and is not started again";
        rows.push_back({dependent.unit, "stops along with " + dependent.takenBy + again, kNone, kNone, kNone, kNone});
    }
    return rows;
}

std::vector<Texts> BlockerRows(const VolumeUnmountPlan& plan)
{
    std::vector<Texts> rows{{"WHAT", "UNIT", "PID", "COMMAND", "HOW", "FILE"}};
    for (const VolumeBlocker& blocker : plan.blockers) {
        rows.push_back(BlockerRow(blocker));
        rows.push_back({"  -> " + Remedy(blocker)});
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
    object["remedy"] = Remedy(blocker);
    if (blocker.user.pid != 0) {
        object["unit"] = blocker.unit;
        object["user"] = UserToJson(blocker.user);
    }
    return object;
}

void PrintPlan(const FullVolumeUnmountPlan& plan)
{
    if (plan.stops.empty()) {
        std::cout << "No service stops.\n";
    } else {
        PrintTable(StopRows(plan));
    }
    for (const VolumeTrigger& trigger : plan.triggers) {
        std::cout << '\n'
                  << trigger.unit << " may start " << trigger.service << " again before the volume is unmounted\n"
                  << "  -> merosystemctl stop " << trigger.unit << '\n';
    }
    if (!plan.blockers.empty()) {
        std::cout << "\nStill keeping the volume busy after those services stop:\n\n";
        PrintTable(BlockerRows(plan));
    }
}

bool CanReadAllProcesses()
{
    return access("/proc/1/fd", R_OK) == 0; // process 1 always exists, and root owns it
}

void PrintPlanAsJson(const FullVolumeUnmountPlan& plan)
{
    Json::Value object(Json::objectValue);
    for (const char* list : {"stops", "dependents", "triggers", "blockers"}) {
        object[list] = Json::Value(Json::arrayValue);
    }
    for (const PlannedStop& stop : plan.stops) {
        Json::Value& entry = object["stops"].append(Json::objectValue);
        entry["unit"] = stop.unit;
        entry["causes"] = Json::Value(Json::arrayValue);
        for (const StopCause& cause : stop.causes) {
            entry["causes"].append(CauseToJson(cause));
        }
    }
    for (const PlannedDependent& dependent : plan.dependents) {
        Json::Value& entry = object["dependents"].append(Json::objectValue);
        entry["unit"] = dependent.unit;
        entry["takenBy"] = dependent.takenBy;
        entry["startsAgain"] = dependent.startsAgain;
    }
    for (const VolumeTrigger& trigger : plan.triggers) {
        Json::Value& entry = object["triggers"].append(Json::objectValue);
        entry["unit"] = trigger.unit;
        entry["service"] = trigger.service;
    }
    for (const VolumeBlocker& blocker : plan.blockers) {
        object["blockers"].append(BlockerToJson(blocker));
    }
    object["complete"] = CanReadAllProcesses();
    PrintJson(object);
}

void PrintUser(const VolumeUser& user)
{
    PrintError("in use by process " + std::to_string(user.pid) + " (" + user.command + "), " + UseWord(user.use) +
               ": " + user.file);
}

} // namespace

bool AreMounted(const Texts& volumes)
{
    std::set<std::string> mounts;
    const std::unique_ptr<FILE, decltype(&endmntent)> table(setmntent("/proc/self/mounts", "re"), endmntent);
    while (const mntent* mount = table != nullptr ? getmntent(table.get()) : nullptr) {
        mounts.insert(mount->mnt_dir);
    }
    bool done = true;
    for (const std::string& volume : volumes) {
        const std::unique_ptr<char, decltype(&std::free)> resolved(realpath(volume.c_str(), nullptr), std::free);
        if (!mounts.contains(volume) && (resolved == nullptr || !mounts.contains(resolved.get()))) {
            PrintError(volume + ": is not mounted");
            done = false;
        }
    }
    return done;
}

bool SeesAllProcesses(const std::string& what)
{
    const bool seesAll = CanReadAllProcesses();
    if (!seesAll) {
        std::cout << std::flush;
        PrintError(what + " is incomplete: the files of other users' processes cannot be read");
        std::cerr << "  -> run it as root\n";
    }
    return seesAll;
}

int ShowVolumePlan(const Texts& volumes, bool json)
{
    if (!AreMounted(volumes)) {
        return kFailed;
    }
    FullVolumeUnmountPlan plan;
    const std::string what = "planning to unmount " + ToCell(volumes);
    const WatchedWork work = Watch(what, [&](Progress&) { return MEROSystemdVolumeUnmountFullPlan(volumes, plan); });
    if (!work.done) {
        return ReportFailure(what, work.error);
    }
    json ? PrintPlanAsJson(plan) : PrintPlan(plan);
    return SeesAllProcesses("this plan") ? kDone : kFailed;
}

void PrintBlockers(const std::vector<VolumeBlocker>& blockers)
{
    for (const VolumeBlocker& blocker : blockers) {
        if (blocker.kind == VolumeBlocker::Kind::Process) {
            PrintUser(blocker.user);
        } else {
            PrintError(std::string("in use by a ") + KindWord(blocker.kind) + ": " + blocker.user.file);
        }
        std::cerr << "  -> " << Remedy(blocker) << '\n';
    }
}

void PrintHolders(const VolumeUnmountPlan& plan)
{
    for (const PlannedStop& stop : plan.stops) {
        for (const StopCause& cause : stop.causes) {
            std::for_each(cause.users.begin(), cause.users.end(), PrintUser);
        }
    }
    PrintBlockers(plan.blockers);
}

bool ReportReturn(const Texts& units)
{
    if (units.empty()) {
        return true;
    }
    const std::vector<UnitProperties> states = AskProperties(units, "ActiveState,Result");
    if (states.empty()) {
        PrintError("systemd does not say whether these run again: " + ToCell(units));
        return false;
    }
    Texts running;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const std::string& state = states[i]["ActiveState"];
        if (state == "active" || state == "activating" || state == "reloading" || state == "refreshing") {
            running.push_back(units[i]);
        }
    }
    if (!running.empty()) {
        std::cout << "running again: " << ToCell(running) << '\n';
    }
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (std::find(running.begin(), running.end(), units[i]) == running.end()) {
            PrintError(units[i] + ": does not run again: it is " + states[i]["ActiveState"] + ", result " +
                       states[i]["Result"]);
            std::cerr << "  -> merosystemctl why " << units[i] << '\n';
        }
    }
    return running.size() == units.size();
}

} // namespace MERO::Tool
