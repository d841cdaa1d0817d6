#include "diagnosis/checkup.h"

#include "diagnosis/dialect.h"
#include "diagnosis/isolation.h"
#include "diagnosis/manager.h"
#include "diagnosis/unit_properties.h"
#include "running/lock_owner.h"
#include "running/reason_drop_in.h"
#include "usage/hierarchies.h"

#include <merocore/process.h>
#include <merosystemd/systemd.hpp>

#include <linux/magic.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace MERO::Tool {
namespace {

using enum Finding::Kind;
using Findings = std::vector<Finding>;

const std::string kStateFolder = "/run/merosystemd/";

Texts NamesIn(const std::string& folder)
{
    Texts names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

void CheckSystemd(Findings& findings)
{
    const bool isThere = access("/usr/bin/systemctl", X_OK) == 0;
    if (!isThere) {
        findings.push_back({Bad, {"systemd", "/usr/bin/systemctl cannot be run", "install systemd"}});
        return;
    }
    if (!IsManagerThere()) {
        findings.push_back({Bad, {"systemd", NoManagerText(), ""}});
    }
    const std::string fault = DialectFault(true);
    findings.push_back({fault.empty() ? Good : Bad,
                        {"dialect",
                         !fault.empty() ? fault
                                        : std::string("systemctl is read in the ") +
                                              (IsDialectCurrent() ? "current" : "classic") + " dialect",
                         ""}});
}

void CheckCgroups(Findings& findings)
{
    const std::string monitor = kMonitorHierarchy;
    const bool hasMonitor = HasMonitorHierarchy();
    if (IsFileSystem("/sys/fs/cgroup", CGROUP2_SUPER_MAGIC)) {
        findings.push_back(IsDialectCurrent()
                               ? Finding{Good,
                                         {"cgroups",
                                          std::string("version 2; slices are measured in ") +
                                              (hasMonitor ? "the resource monitor's hierarchy" : "systemd's own"),
                                          ""}}
                               : Finding{Bad, {"cgroups", "version 2, which the classic dialect does not know", ""}});
    } else if (!IsFileSystem("/sys/fs/cgroup/systemd", CGROUP_SUPER_MAGIC)) {
        findings.push_back({Bad, {"cgroups", "systemd's hierarchy is not mounted at /sys/fs/cgroup/systemd", ""}});
    } else if (!hasMonitor) {
        findings.push_back(
            {Bad,
             {"cgroups", "the resource monitor's hierarchy is not mounted: slices cannot be measured",
              "mkdir -p " + monitor + " && mount -t cgroup -o none,name=meromonitor meromonitor " + monitor}});
    } else {
        findings.push_back({Good, {"cgroups", "version 1, with the resource monitor's hierarchy", ""}});
    }
}

/// Checks programs of this operating system that other machines do without.
void CheckPrograms(Findings& findings)
{
    constexpr const char* kPrograms[][3] = {
        {"event log", "/usr/mero/bin/merologset", "starts and stops are not written to the event log"},
        {"monitor", "/usr/mero/lib/systemd/scripts/mero-systemd-status-monitor.sh",
         "isolations and unmounts are not monitored"},
    };
    for (const auto& [name, path, without] : kPrograms) {
        const bool isThere = access(path, X_OK) == 0;
        findings.push_back({isThere              ? Good
                            : IsDialectCurrent() ? Note
                                                 : Bad,
                            {name, path + (isThere ? std::string() : std::string(" is missing: ") + without),
                             isThere || IsDialectCurrent() ? "" : "install the package that has it"}});
    }
}

void CheckJournal(Findings& findings)
{
    char journalctl[] = "/usr/bin/journalctl", quiet[] = "--quiet", pager[] = "--no-pager", one[] = "--lines=1";
    char json[] = "--output=json"; // anything else is an error message
    char* const argv[] = {journalctl, quiet, pager, one, json, nullptr};
    const std::unique_ptr<FILE, decltype(&MLIBCPclose)> output(MLIBCPopenvc(journalctl, "rB", argv), MLIBCPclose);
    const bool isRead = output != nullptr && std::fgetc(output.get()) == '{';
    const passwd* user = getuid() != 0 ? getpwuid(getuid()) : nullptr;
    findings.push_back(
        {isRead ? Good : Bad,
         {"journal", isRead ? "can be read" : "has no messages that can be read: \"why\" cannot show them",
          isRead            ? ""
          : user != nullptr ? std::string("usermod --append --groups systemd-journal ") + user->pw_name
                            : "systemctl status systemd-journald.service"}});
}

/// systemctl finds an ordinary user's manager through the session's environment.
void CheckSession(Findings& findings)
{
    if (getuid() == 0) {
        return;
    }
    MEROSystemdPutEnvByPAMSystemd();
    const bool isThere = IsManagerThere();
    findings.push_back({isThere ? Good : Bad,
                        {"session", isThere ? "leads to your user manager" : NoManagerText(),
                         isThere ? "" : "loginctl enable-linger"}});
}

void CheckHolds(Findings& findings)
{
    if (getuid() != 0) {
        return; // only the system's services have holds
    }
    const std::size_t count = findings.size();
    Texts held;
    (void)Systemd::ListServicesWithReason(held);
    const auto units = held.empty() ? std::vector<UnitProperties>()
                                    : AskProperties(held, "Id,FragmentPath,DropInPaths,NeedDaemonReload");
    for (std::size_t i = 0; i < units.size(); ++i) {
        Texts files = units[i].List("DropInPaths");
        files.push_back(units[i]["FragmentPath"]);
        if (std::none_of(files.begin(), files.end(), LooksAtReasons)) {
            findings.push_back({Bad,
                                {"holds", held[i] + " is held, but nothing keeps it from starting",
                                 "merosystemctl reason add REASON " + held[i], held[i]}});
        } else if (units[i]["NeedDaemonReload"] == "yes") {
            findings.push_back({Bad,
                                {"holds", held[i] + " is held, but systemd has not read its drop-ins yet",
                                 "merosystemctl daemon-reload", held[i]}});
        }
    }
    const std::string folder = "/run/systemd/system/", suffix = ".service.d";
    for (const std::string& name : NamesIn(folder)) {
        const std::string service = name.substr(0, name.size() - std::min(name.size(), std::size_t{2}));
        if (name.ends_with(suffix) && LooksAtReasons(folder + name + "/mero-reason.conf") &&
            !Systemd::CheckServiceHasReason(service)) {
            findings.push_back({Bad,
                                {"holds", service + " has a drop-in of a hold that is gone",
                                 "merosystemctl reason remove any " + service, service}});
        }
    }
    for (const std::string& service : NamesIn(kStateFolder + "stopped-along")) {
        for (const std::string& unit : NamesIn(kStateFolder + "stopped-along/" + service)) {
            if (!Systemd::CheckServiceHasReason(service)) {
                findings.push_back({Bad,
                                    {"holds", unit + " stopped along with " + service + " and was not started again",
                                     "merosystemctl why " + unit, unit}});
            }
        }
    }
    if (findings.size() == count) {
        findings.push_back(
            {Good,
             {"holds", std::to_string(held.size()) + (held.size() == 1 ? " service is held" : " services are held"),
              ""}});
    }
}

void CheckLocks(Findings& findings)
{
    const std::size_t count = findings.size();
    Texts paths{kStateFolder + "status_monitor.exit.lock"};
    for (const std::string& name : NamesIn(kStateFolder + "locks")) {
        paths.push_back(kStateFolder + "locks/" + name);
    }
    for (const std::string& path : paths) {
        if (const std::string owner = LockOwner(path.c_str()); !owner.empty()) {
            findings.push_back({Note, {"locks", path.substr(path.rfind('/') + 1) + ": held by " + owner, ""}});
        }
    }
    if (findings.size() == count) {
        findings.push_back({Good, {"locks", "none is held", ""}});
    }
}

void CheckLeftovers(Findings& findings)
{
    const Isolation isolation = CurrentIsolation();
    const auto cause = IsolationCause(isolation);
    const bool isRunning = isolation.kind == Isolation::Kind::Running;
    if (cause) {
        findings.push_back({isRunning ? Note : Bad, *cause});
    } else if (access((kStateFolder + "isolate-not-finish-flag").c_str(), F_OK) == 0) {
        findings.push_back(
            {Bad,
             {"isolation", "one was interrupted: " + kStateFolder + "isolate-not-finish-flag is still there",
              "merosystemctl isolate default.target"}});
    } else {
        findings.push_back({Good, {"isolation", "none is going on or was interrupted", ""}});
    }
    using enum Systemd::VolumeUnmountState::Kind;
    Systemd::VolumeUnmountState unmount;
    const bool isKnown = MEROSystemdVolumeUnmountStateGet(unmount);
    const std::string volumes = ToCell(unmount.volumes);
    if (!isKnown) {
        findings.push_back({Bad, {"unmount", "cannot read " + kStateFolder + "volume-unmount.json", ""}});
    } else if (unmount.kind == Interrupted) {
        findings.push_back({Bad,
                            {"unmount", "of " + volumes + " was interrupted; down: " + ToCell(unmount.units),
                             "merosystemctl volume recover"}});
    } else {
        findings.push_back(
            {unmount.kind == Running ? Note : Good,
             {"unmount",
              unmount.kind == Running ? volumes + " is being unmounted" : "none is going on or was interrupted", ""}});
    }
}

} // namespace

std::vector<Finding> CheckMachine()
{
    Findings findings;
    for (const auto check : {CheckSystemd, CheckCgroups, CheckPrograms, CheckJournal, CheckSession, CheckHolds,
                             CheckLocks, CheckLeftovers}) {
        check(findings);
    }
    return findings;
}

} // namespace MERO::Tool
