#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/dialect.h"
#include "diagnosis/holds.h"
#include "diagnosis/manager.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_names.h"
#include "output/output.h"
#include "running/dry_run.h"
#include "running/reason_drop_in.h"
#include "running/unit_action.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>

namespace MERO::Tool {
namespace {

struct ReasonArguments {
    std::string reason;
    Texts services;
    bool isUnprotected = false;
    bool dryRun = false;
    bool json = false;
};

using Change = bool (*)(const std::string& reason, const Texts& services, Texts& failed,
                        const SystemctlObserver& observer);
using Results = std::vector<UnitResult>;

void Append(Results& results, const Results& others)
{
    results.insert(results.end(), others.begin(), others.end());
}

Results RunChange(const std::string& verb, Change change, const std::string& reason, const Texts& services)
{
    if (services.empty()) {
        return {};
    }
    return RunUnitAction(
        {.verb = verb,
         .units = services,
         .run = [&](const Texts& some, Texts& failed,
                    const SystemctlObserver& observer) { return change(reason, some, failed, observer); },
         .diagnoses = verb == "reason release"});
}

bool RemoveReason(const std::string& reason, const Texts& services, Texts& failed, const SystemctlObserver&)
{
    return MEROSystemdServiceReasonRemove(reason, services, failed);
}

/// Removes units that do not exist from `services`, and puts the others there under their own names.
Results TakeMissing(const std::string& verb, Texts& services, std::vector<HeldService>& held)
{
    std::map<std::string, Systemd::ShownUnit> shown;
    (void)MEROSystemdShowProperties(services, {"LoadState", "ActiveState", "FragmentPath", "DropInPaths"}, shown);
    Results missing;
    Texts found;
    for (const std::string& service : services) {
        auto& unit = shown[service].properties;
        if (IsMissing(unit["LoadState"]) && unit["ActiveState"] != "active") {
            missing.push_back({.unit = service, .code = kNoSuchUnit, .fault = verb + " failed: " + NoSuchUnitText()});
            continue;
        }
        found.push_back(OwnName(service, unit["Id"]));
        if (unit["Id"].ends_with(".service")) {
            held.push_back({unit["Id"], SplitWords(unit["DropInPaths"])});
            held.back().files.push_back(unit["FragmentPath"]);
        }
    }
    services = found;
    return missing;
}

int Add(const ReasonArguments& arguments)
{
    const std::string verb = "reason add";
    Texts services = LoadedUnits(verb, arguments.services);
    if (arguments.dryRun) {
        return PrintForeseen(ForeseeStop(services), arguments.json);
    }
    std::vector<HeldService> held;
    Results results = IsDialectCurrent() ? TakeMissing(verb, services, held) : Results();
    if (arguments.isUnprotected) {
        held.clear();
    }
    const bool isProtected = ProtectHeld(held);
    const Results changed = RunChange(verb, MEROSystemdServiceStopByReasonObserved, arguments.reason, services);
    UnprotectReleased(services); // those that did not get the reason
    std::erase_if(held, [](const HeldService& one) { return !Systemd::CheckServiceHasReason(one.name); });
    const bool isStillProtected = ProtectHeld(held); // in case another process has just released one
    Append(results, changed);
    const int code = PrintResults(results, arguments.json);
    return code == kDone && !(isProtected && isStillProtected) ? kFailed : code;
}

bool HasReason(const std::string& service, const std::string& reason)
{
    Texts reasons;
    const bool isKnown = MEROSystemdServiceReasonList(service, reasons);
    return !isKnown || std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
}

/// Removes from `services` those that have the reason under neither of their names, and returns them.
Texts TakeLacking(const std::string& reason, Texts& services)
{
    Texts having, lacking;
    for (const std::string& service : services) {
        std::map<std::string, Systemd::ShownUnit> shown;
        if (!HasReason(service, reason) && IsDialectCurrent()) {
            (void)MEROSystemdShowProperties({service}, {"Id"}, shown);
        }
        const std::string name = OwnName(service, shown[service].properties["Id"]);
        (HasReason(name, reason) ? having : lacking).push_back(name);
    }
    services = having;
    return lacking;
}

/// The units that the library recorded as stopped along with a service.
Texts StoppedAlong(const std::string& service)
{
    Texts units;
    std::error_code error;
    const std::filesystem::path folder("/run/merosystemd/stopped-along/" + ServiceName(service));
    for (const auto& record : std::filesystem::directory_iterator(folder, error)) {
        units.push_back(record.path().filename());
    }
    return units;
}

/// The units that stopped along with the services and did not start again with them. The library's result covers only
/// the services.
Results StillStopped(const Texts& services)
{
    Results stopped;
    for (const std::string& service : services) {
        for (const std::string& unit : Systemd::CheckServiceHasReason(service) ? Texts() : StoppedAlong(service)) {
            stopped.push_back({.unit = unit,
                               .code = kFailed,
                               .fault = "does not run again",
                               .causes = {{"stopped", "along with " + service, "merosystemctl why " + unit}}});
        }
    }
    return stopped;
}

/// A service starts if this was its last reason, and the units that stopped along with it start too.
std::vector<Foreseen> ForeseeRelease(const std::string& reason, Texts services)
{
    (void)TakeLacking(reason, services);
    std::vector<Foreseen> changes;
    for (const std::string& service : services) {
        Texts reasons;
        (void)MEROSystemdServiceReasonList(service, reasons);
        std::erase(reasons, reason);
        if (!reasons.empty()) {
            changes.push_back({ServiceName(service), "stays held", "by " + ToCell(reasons)});
            continue;
        }
        const auto starts = ForeseeStart({service});
        changes.insert(changes.end(), starts.begin(), starts.end());
        for (const std::string& unit : StoppedAlong(service)) {
            changes.push_back({unit, "starts", "stopped along with " + ServiceName(service)});
        }
    }
    return changes;
}

int Release(const ReasonArguments& arguments)
{
    Texts services = LoadedUnits("reason release", arguments.services);
    if (arguments.dryRun) {
        return PrintForeseen(ForeseeRelease(arguments.reason, services), arguments.json);
    }
    Results results;
    for (const std::string& service : TakeLacking(arguments.reason, services)) {
        results.push_back(
            {.unit = service, .code = kNotActive, .fault = "it does not have the reason " + arguments.reason});
    }
    Append(results, RunChange("reason release", MEROSystemdServiceStartByReasonObserved, arguments.reason, services));
    UnprotectReleased(services);
    Append(results, StillStopped(services));
    return PrintResults(results, arguments.json);
}

/// A service without the reason is already as requested: that is no error.
int Remove(const ReasonArguments& arguments)
{
    Texts services = LoadedUnits("reason remove", arguments.services);
    const Texts lacking = TakeLacking(arguments.reason, services);
    services.insert(services.end(), lacking.begin(), lacking.end());
    const Results results = RunChange("reason remove", RemoveReason, arguments.reason, services);
    UnprotectReleased(services);
    return PrintResults(results, arguments.json);
}

struct ReasonChange {
    const char* verb;
    const char* help;
    int (*run)(const ReasonArguments& arguments);
};

constexpr ReasonChange kReasonChanges[] = {
    {"add", "Add a hold to services and stop them", Add},
    {"release", "Remove a hold from services and start them", Release},
    {"remove", "Remove a hold from services, leave them stopped", Remove},
};

int ListReasons(Texts services, bool json)
{
    if (services.empty() && !MERO::Systemd::ListServicesWithReason(services)) {
        return ReportFailure("listing the services that are held");
    }
    std::sort(services.begin(), services.end());
    Json::Value object(Json::objectValue);
    std::vector<Texts> rows{{"SERVICE", "REASONS"}};
    for (const std::string& service : services) {
        Texts reasons;
        if (!MEROSystemdServiceReasonList(service, reasons)) {
            return ReportFailure(service + ": listing its reasons");
        }
        std::sort(reasons.begin(), reasons.end());
        object[ServiceName(service)] = ToJson(reasons);
        rows.push_back({ServiceName(service), ToCell(reasons)});
    }
    json ? PrintJson(object) : PrintTable(rows);
    return kDone;
}

} // namespace

void AddReasonCommands(const Command& program)
{
    const Command reason = program.AddGroup("reason", "Hold services stopped for a reason");
    for (const ReasonChange& change : kReasonChanges) {
        const auto arguments = std::make_shared<ReasonArguments>();
        const Command command = reason.AddCommand(change.verb, change.help);
        command.AddOperand("REASON", arguments->reason, "A name for the cause, without \"/\"");
        command.AddOperand("SERVICE", arguments->services, "Services, or patterns such as 'nfs*'");
        command.AddFlag("--json", arguments->json, "Print the result of each unit as a JSON array");
        if (change.run != Remove) {
            AddDryRun(command, arguments->dryRun);
        }
        if (change.run == Add) {
            command.AddFlag("--no-protect", arguments->isUnprotected, "Add no drop-in; others can start the services");
        }
        command.OnCall([&change, arguments] { return change.run(*arguments); });
    }

    struct Arguments {
        Texts services;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command list = reason.AddCommand("list", "List the holds of services");
    list.AddOptionalOperand("SERVICE", arguments->services, "Services; default: all that are held");
    list.AddFlag("--json", arguments->json, "As a JSON object");
    list.OnCall([arguments] { return ListReasons(arguments->services, arguments->json); });
}

} // namespace MERO::Tool
