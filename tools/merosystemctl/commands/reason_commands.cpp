#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <memory>

namespace MERO::Tool {
namespace {

struct ReasonChange {
    const char* verb;
    const char* help;
    bool (*run)(const std::string& reason, const Texts& services, Texts& failed);
};

constexpr ReasonChange kReasonChanges[] = {
    {"add", "Give services a reason to be held, and stop them", MEROSystemdServiceStopByReason},
    {"release", "Take a reason from services, and start them", MEROSystemdServiceStartByReason},
    {"remove", "Take a reason from services, and leave them stopped", MEROSystemdServiceReasonRemove},
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
        struct Arguments {
            std::string reason;
            Texts services;
        };
        const auto arguments = std::make_shared<Arguments>();
        const Command command = reason.AddCommand(change.verb, change.help);
        command.AddOperand("REASON", arguments->reason, "A name for the cause, without \"/\"");
        command.AddOperand("SERVICE", arguments->services, "Services");
        command.OnCall([&change, arguments] {
            Texts failed;
            const std::string verb = std::string("reason ") + change.verb;
            const WatchedWork work =
                Watch(verb + " " + arguments->reason + " " + ToCell(arguments->services),
                      [&](Progress&) { return change.run(arguments->reason, arguments->services, failed); });
            return ReportUnits(work.done, verb, failed, work.error);
        });
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
