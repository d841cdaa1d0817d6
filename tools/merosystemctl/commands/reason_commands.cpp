#include "commands/commands.h"
#include "diagnosis/dialect.h"
#include "diagnosis/holds.h"
#include "diagnosis/report.h"
#include "diagnosis/unit_properties.h"
#include "output/output.h"
#include "running/reason_drop_in.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

struct ReasonArguments {
    std::string reason;
    Texts services;
    bool isUnprotected = false;
};

using Change = bool(const std::string& reason, const Texts& services, Texts& failed);

int RunChange(const std::string& verb, Change* change, const std::string& reason, const Texts& services)
{
    Texts failed;
    const WatchedWork work = Watch(verb + " " + reason + " " + ToCell(services),
                                   [&](Progress&) { return change(reason, services, failed); });
    return ReportUnits(work.done, verb, failed, work.error);
}

/// One that cannot be asked, such as a name that is none, spoils the question for all.
std::vector<UnitProperties> AskEach(const Texts& services, const char* names)
{
    std::vector<UnitProperties> units = AskProperties(services, names);
    for (std::size_t i = units.size(); i < services.size(); ++i) {
        const auto unit = AskProperties({services[i]}, names);
        units.push_back(unit.empty() ? UnitProperties() : unit.front());
    }
    return units;
}

/// Takes the units off `services` that do not exist, and says so. What is left has its own names.
std::vector<HeldService> TakeMissing(const std::string& verb, Texts& services)
{
    const std::vector<UnitProperties> units = AskEach(services, "Id,LoadState,ActiveState,FragmentPath,DropInPaths");
    std::vector<HeldService> held;
    Texts found;
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (IsMissing(units[i]["LoadState"]) && units[i]["ActiveState"] != "active") {
            PrintError(services[i] + ": " + verb + " failed: there is no such unit");
            continue;
        }
        found.push_back(OwnName(services[i], units[i]));
        if (units[i]["Id"].ends_with(".service")) {
            held.push_back({units[i]["Id"], units[i].List("DropInPaths")});
            held.back().files.push_back(units[i]["FragmentPath"]);
        }
    }
    services = found;
    return held;
}

int Add(const ReasonArguments& arguments)
{
    const std::string verb = "reason add";
    Texts services = arguments.services;
    std::vector<HeldService> held = IsDialectOfToday() ? TakeMissing(verb, services) : std::vector<HeldService>();
    if (arguments.isUnprotected) {
        held.clear();
    }
    const bool isProtected = ProtectHeld(held);
    const int code =
        services.empty() ? kDone : RunChange(verb, MEROSystemdServiceStopByReason, arguments.reason, services);
    UnprotectReleased(services); // that did not get the reason
    std::erase_if(held, [](const HeldService& one) { return !Systemd::CheckServiceHasReason(one.name); });
    const bool isStillProtected = ProtectHeld(held); // unless another process has just released it
    return services.size() < arguments.services.size()           ? kNoSuchUnit
           : code == kDone && !(isProtected && isStillProtected) ? kFailed
                                                                 : code;
}

bool HasReason(const std::string& service, const std::string& reason)
{
    Texts reasons;
    const bool isKnown = MEROSystemdServiceReasonList(service, reasons);
    return !isKnown || std::find(reasons.begin(), reasons.end(), reason) != reasons.end();
}

/// Takes those off `services` that lack the reason, by their own names too.
Texts TakeLacking(const std::string& reason, Texts& services)
{
    Texts having, lacking;
    for (const std::string& service : services) {
        const auto unit = HasReason(service, reason) || !IsDialectOfToday() ? std::vector<UnitProperties>()
                                                                            : AskProperties({service}, "Id");
        const std::string name = unit.empty() ? service : OwnName(service, unit.front());
        (HasReason(name, reason) ? having : lacking).push_back(name);
    }
    services = having;
    return lacking;
}

/// Says what stopped along with the services and did not start with them again: the library keeps a note of that. Its
/// result is about the services alone.
bool AllRunAgain(const Texts& services)
{
    bool all = true;
    for (const std::string& service : services) {
        std::error_code error;
        const std::filesystem::path folder("/run/merosystemd/stopped-along/" + ServiceName(service));
        for (const auto& note : std::filesystem::directory_iterator(folder, error)) {
            const std::string unit = note.path().filename();
            if (!Systemd::CheckServiceHasReason(service)) {
                PrintError(unit + ": it stopped along with " + service + ", and does not run again");
                std::cerr << "  -> merosystemctl why " << unit << '\n';
                all = false;
            }
        }
    }
    return all;
}

int Release(const ReasonArguments& arguments)
{
    Texts services = arguments.services;
    const Texts lacking = TakeLacking(arguments.reason, services);
    for (const std::string& service : lacking) {
        PrintError(service + ": it does not have the reason " + arguments.reason);
    }
    const int code = services.empty()
                         ? kDone
                         : RunChange("reason release", MEROSystemdServiceStartByReason, arguments.reason, services);
    UnprotectReleased(services);
    const bool allRun = AllRunAgain(services);
    return code != kDone ? code : !allRun ? kFailed : lacking.empty() ? kDone : kNotActive;
}

/// A service that lacks the reason is left as it is meant to be.
int Remove(const ReasonArguments& arguments)
{
    Texts services = arguments.services;
    const Texts lacking = TakeLacking(arguments.reason, services);
    services.insert(services.end(), lacking.begin(), lacking.end());
    const int code = RunChange("reason remove", MEROSystemdServiceReasonRemove, arguments.reason, services);
    UnprotectReleased(services);
    return code;
}

struct ReasonChange {
    const char* verb;
    const char* help;
    int (*run)(const ReasonArguments& arguments);
};

constexpr ReasonChange kReasonChanges[] = {
    {"add", "Give services a reason to be held, and stop them", Add},
    {"release", "Take a reason from services, and start them", Release},
    {"remove", "Take a reason from services, and leave them stopped", Remove},
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
        object[service] = ToJson(reasons);
        rows.push_back({service, ToCell(reasons)});
    }
    json ? PrintJson(object) : PrintTable(rows);
    return kDone;
}

} // namespace

void AddReasonCommands(const Command& program)
{
    const Command reason = program.AddGroup("reason", "Hold services stopped for reasons");
    for (const ReasonChange& change : kReasonChanges) {
        const auto arguments = std::make_shared<ReasonArguments>();
        const Command command = reason.AddCommand(change.verb, change.help);
        command.AddOperand("REASON", arguments->reason, "A name for the cause, without \"/\"");
        command.AddOperand("SERVICE", arguments->services, "Services");
        if (change.run == Add) {
            command.AddFlag("--no-protect", arguments->isUnprotected, "Let others start the services all the same");
        }
        command.OnCall([&change, arguments] { return change.run(*arguments); });
    }

    struct Arguments {
        Texts services;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command list = reason.AddCommand("list", "List the reasons of services");
    list.AddOptionalOperand("SERVICE", arguments->services, "Services; without any, all that are held");
    list.AddFlag("--json", arguments->json, "As a JSON object");
    list.OnCall([arguments] { return ListReasons(arguments->services, arguments->json); });
}

} // namespace MERO::Tool
