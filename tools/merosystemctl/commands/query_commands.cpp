#include "commands/commands.h"
#include "diagnosis/report.h"
#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

int PrintNames(bool listed, const Texts& names, bool json)
{
    if (!listed) {
        return ReportFailure("listing the unit files");
    }
    if (json) {
        PrintJson(ToJson(names));
        return kDone;
    }
    for (const std::string& name : names) {
        std::cout << name << '\n';
    }
    return kDone;
}

void AddLists(const Command& program)
{
    struct Arguments {
        std::string type;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command units = program.AddCommand("list-units", "List the installed unit files");
    units.AddOption("--type", "TYPE", arguments->type, "Only units of this type, such as service or mount");
    const Command services = program.AddCommand("list-services", "List the installed services");
    for (const Command& command : {units, services}) {
        command.AddFlag("--json", arguments->json, "As a JSON array");
    }
    units.OnCall([arguments] {
        Texts names;
        return PrintNames(MEROSystemdListUnits(names, arguments->type), names, arguments->json);
    });
    services.OnCall([arguments] {
        Texts names;
        return PrintNames(MEROSystemdServiceList(names), names, arguments->json);
    });
}

} // namespace

void AddQueryCommands(const Command& program)
{
    AddLists(program);
}

} // namespace MERO::Tool
