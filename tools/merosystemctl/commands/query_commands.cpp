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

void AddShow(CLI::App& program, int& exitCode)
{
    struct Arguments {
        std::string unit, property;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = program.add_subcommand("show", "Print one of the properties of a unit");
    command->add_option("UNIT", arguments->unit, "A unit; a name without a type means a service")->required();
    command->add_option("PROPERTY", arguments->property, "Such as MainPID or FragmentPath")->required();
    command->add_flag("--json", arguments->json, "As a JSON string");
    command->callback([arguments, &exitCode] {
        std::string value;
        if (!MEROSystemdShow(arguments->unit, arguments->property, value)) {
            exitCode = ReportFailure(arguments->unit + ": reading the property " + arguments->property);
            return;
        }
        PrintText(value, arguments->json);
    });
}

void AddLists(CLI::App& program, int& exitCode)
{
    struct Arguments {
        std::string type;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* units = program.add_subcommand("list-units", "List the installed unit files");
    units->add_option("--type", arguments->type, "Only units of this type, such as service or mount");
    CLI::App* services = program.add_subcommand("list-services", "List the installed services");
    for (CLI::App* command : {units, services}) {
        command->add_flag("--json", arguments->json, "As a JSON array");
    }
    units->callback([arguments, &exitCode] {
        Texts names;
        exitCode = PrintNames(MEROSystemdListUnits(names, arguments->type), names, arguments->json);
    });
    services->callback([arguments, &exitCode] {
        Texts names;
        exitCode = PrintNames(MEROSystemdServiceList(names), names, arguments->json);
    });
}

void AddDefaultTarget(CLI::App& program, int& exitCode)
{
    struct Arguments {
        std::string target;
        bool offline = false;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    CLI::App* command = program.add_subcommand("default-target", "Print or set the target that the machine boots into");
    CLI::Option* target = command->add_option("TARGET", arguments->target, "Set this target");
    command->add_flag("--offline", arguments->offline, "Change the files, without the manager")->needs(target);
    command->add_flag("--json", arguments->json, "As a JSON string")->excludes(target);
    command->callback([arguments, &exitCode] {
        if (!arguments->target.empty()) {
            const bool done = arguments->offline ? MEROSystemdDefaultTargetSetInGenerator(arguments->target)
                                                 : MEROSystemdDefaultTargetSet(arguments->target);
            exitCode = done ? kDone : ReportFailure("setting the default target");
            return;
        }
        std::string target;
        if (!MEROSystemdDefaultTargetGet(target)) {
            exitCode = ReportFailure("reading the default target");
            return;
        }
        PrintText(target, arguments->json);
    });
}

} // namespace

void AddQueryCommands(CLI::App& program, int& exitCode)
{
    AddShow(program, exitCode);
    AddLists(program, exitCode);
    AddDefaultTarget(program, exitCode);
}

} // namespace MERO::Tool
