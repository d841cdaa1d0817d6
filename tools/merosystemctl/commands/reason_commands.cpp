#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"
#include "running/watched_work.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <memory>

namespace MERO::Tool {
namespace {

struct Change {
    const char* verb;
    const char* help;
    bool (*run)(const std::string& reason, const Texts& services, Texts& failed);
};

constexpr Change kChanges[] = {
    {"add", "Give services a reason to be held, and stop them", MEROSystemdServiceStopByReason},
    {"release", "Take a reason from services, and start them", MEROSystemdServiceStartByReason},
    {"remove", "Take a reason from services, and leave them stopped", MEROSystemdServiceReasonRemove},
};

int List(Texts services, bool json)
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

void AddReasonCommands(CLI::App& program, int& exitCode)
{
    CLI::App* reason = program.add_subcommand("reason", "Hold services stopped for reasons");
    reason->require_subcommand(1);
    for (const Change& change : kChanges) {
        struct Arguments {
            std::string reason;
            Texts services;
        };
        const auto arguments = std::make_shared<Arguments>();
        CLI::App* command = reason->add_subcommand(change.verb, change.help);
        command->add_option("REASON", arguments->reason, "A name for the cause, without \"/\"")->required();
        command->add_option("SERVICE", arguments->services, "Services")->required();
        command->callback([&change, arguments, &exitCode] {
            Texts failed;
            const std::string verb = std::string("reason ") + change.verb;
            const WatchedWork work =
                Watch(verb + " " + arguments->reason + " " + ToCell(arguments->services),
                      [&](Progress&) { return change.run(arguments->reason, arguments->services, failed); });
            exitCode = ReportUnits(work.done, verb, failed, work.error);
        });
    }

    struct Arguments {
        Texts services;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* list = reason->add_subcommand("list", "List the reasons of services");
    list->add_option("SERVICE", arguments->services, "Services; without any, all that are held");
    list->add_flag("--json", arguments->json, "As a JSON object");
    list->callback([arguments, &exitCode] { exitCode = List(arguments->services, arguments->json); });
}

} // namespace MERO::Tool
