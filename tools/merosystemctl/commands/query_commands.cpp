#include "commands/commands.h"
#include "commands/usual_arguments.h"
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

void AddShow(const Command& program)
{
    struct Arguments {
        std::string unit, property;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("show", "Print one of the properties of a unit");
    AddUnit(command, arguments->unit);
    command.AddOperand("PROPERTY", arguments->property, "Such as MainPID or FragmentPath");
    command.AddFlag("--json", arguments->json, "As a JSON string");
    command.OnCall([arguments]() -> int {
        std::string value;
        if (!MEROSystemdShow(arguments->unit, arguments->property, value)) {
            return ReportFailure(arguments->unit + ": reading the property " + arguments->property);
        }
        PrintText(value, arguments->json);
        return kDone;
    });
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
    AddShow(program);
    AddLists(program);
}

} // namespace MERO::Tool
