#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/report.h"
#include "diagnosis/systemctl_table.h"
#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

#include <cctype>
#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

/// One of systemctl's lists, and its columns here.
struct SystemctlList {
    const char* verb;
    const char* what;
    std::vector<const char*> columns; ///< systemctl's headings
    std::map<std::size_t, Paint> paints;
};

const SystemctlList kLoaded{"list-units",
                            "loaded unit",
                            {"UNIT", "LOAD", "ACTIVE", "SUB", "DESCRIPTION"},
                            {{1, ColourOfState}, {2, ColourOfState}}};
const SystemctlList kFiles{"list-unit-files", "unit file", {"UNIT", "STATE"}, {}};

struct ListArguments {
    Texts patterns;
    std::string type, state;
    bool all = false;
    bool failed = false;
    bool json = false;
};

std::string LowerCase(std::string text)
{
    for (char& letter : text) {
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    }
    return text;
}

void PrintList(const SystemctlList& list, const std::vector<TableRow>& units, bool json)
{
    std::vector<Texts> rows{{list.columns.begin(), list.columns.end()}};
    Json::Value array(Json::arrayValue);
    for (TableRow unit : units) {
        Json::Value& entry = array.append(Json::objectValue);
        rows.emplace_back();
        for (const char* column : list.columns) {
            rows.back().push_back(unit[column]);
            entry[LowerCase(column)] = unit[column];
        }
    }
    json ? PrintJson(array) : PrintTable(rows, list.paints);
}

int RunList(const SystemctlList& list, Texts options, const ListArguments& arguments)
{
    if (!arguments.type.empty()) {
        options.push_back("--type=" + arguments.type);
    }
    if (!arguments.state.empty()) {
        options.push_back("--state=" + arguments.state);
    }
    SystemctlWords words;
    const auto units = ReadTable(list.verb, options, arguments.patterns, words.Listener());
    if (!units) {
        return ReportFailure(std::string("listing the ") + list.what + "s", MLIBCErrGet(), words);
    }
    if (units->empty() && !arguments.patterns.empty()) {
        PrintError(ToCell(arguments.patterns) + ": no " + list.what + " matches");
        return kNoSuchUnit;
    }
    PrintList(list, *units, arguments.json);
    return kDone;
}

int ListUnits(const ListArguments& arguments)
{
    Texts options{"--plain"};
    if (arguments.all) {
        options.emplace_back("--all");
    }
    if (arguments.failed) {
        options.emplace_back("--state=failed");
    }
    return RunList(kLoaded, options, arguments);
}

/// For the system's files systemctl finds the states itself: systemd would be blocked meanwhile.
int ListUnitFiles(const ListArguments& arguments)
{
    return RunList(kFiles, getuid() == 0 ? Texts{"--root=/."} : Texts(), arguments);
}

int ListServices(bool json)
{
    Texts names;
    if (!MEROSystemdServiceList(names)) {
        return ReportFailure("listing the services");
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

} // namespace

void AddQueryCommands(const Command& program)
{
    const auto arguments = std::make_shared<ListArguments>();
    const Command units = program.AddCommand("list-units", "List the units that systemd has loaded");
    const Command files = program.AddCommand("list-unit-files", "List the installed unit files, and whether enabled");
    const Command services = program.AddCommand("list-services", "List the installed services");
    for (const Command& command : {units, files}) {
        command.AddOptionalOperand("PATTERN", arguments->patterns, "Units or patterns ('nfs*')");
        command.AddOption("-t,--type", "TYPE", arguments->type, "Only units of this type, such as service or mount");
        command.AddOption("--state", "STATE", arguments->state, "Only units in this state, such as failed or enabled");
    }
    units.AddFlag("-a,--all", arguments->all, "Inactive units too");
    units.AddFlag("--failed", arguments->failed, "Only failed units");
    for (const Command& command : {units, files, services}) {
        command.AddFlag("--json", arguments->json, "As a JSON array");
    }
    units.OnCall([arguments] { return ListUnits(*arguments); });
    files.OnCall([arguments] { return ListUnitFiles(*arguments); });
    services.OnCall([arguments] { return ListServices(arguments->json); });
}

} // namespace MERO::Tool
