#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "output/command_error.h"
#include "output/output.h"
#include "running/unit_patterns.h"
#include "running/unit_queries.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <sstream>

namespace MERO::Tool {
namespace {

struct ShowArguments {
    Texts words;
    std::string properties;
    bool json = false;
};

/// Splits "MainPID,Id".
Texts SplitNames(const std::string& list)
{
    Texts names;
    std::istringstream text(list);
    for (std::string name; std::getline(text, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::string PropertyFault(const std::string& list)
{
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    const Texts names = SplitNames(list);
    const bool isList = !names.empty() && std::all_of(names.begin(), names.end(), [&](const std::string& name) {
        return !name.empty() && name.find_first_not_of(kLetters) == name.npos;
    });
    return isList ? "" : "'" + list + "' is not a property name";
}

/// "show UNIT PROPERTY": prints only the value, one line for each of several properties.
int PrintValues(const std::string& unit, const std::string& properties, bool json)
{
    if (const std::string fault = PropertyFault(properties); !fault.empty()) {
        throw UsageError(fault);
    }
    const Texts names = SplitNames(properties);
    const auto values = AskUnits({unit}, names)[unit].properties;
    for (const std::string& name : names) {
        const auto value = values.find(name);
        if (value == values.end()) {
            throw CommandError(kFailed, unit + ": systemd has no property " + name);
        }
        PrintText(value->second, json);
    }
    return kDone;
}

/// Prints like systemctl: NAME=VALUE, and an empty line between units.
void PrintAll(const Texts& units, const Texts& names, bool json)
{
    auto shown = AskUnits(units, names);
    Json::Value object(Json::objectValue);
    std::string between;
    for (const std::string& unit : units) {
        object[unit] = Json::Value(Json::objectValue);
        std::cout << (json ? "" : between);
        between = "\n";
        const auto& values = shown[unit].properties;
        for (const std::string& name : names) {
            if (const auto value = values.find(name); value != values.end()) {
                object[unit][name] = value->second;
                std::cout << (json ? "" : name + "=" + value->second + "\n");
            }
        }
    }
    if (json) {
        PrintJson(object);
    }
}

int Run(const ShowArguments& arguments)
{
    const bool hasOption = !arguments.properties.empty();
    if (!hasOption && arguments.words.size() != 2) {
        throw UsageError("show takes UNIT PROPERTY, or -p PROPERTY,... UNIT...");
    }
    if (!hasOption) {
        return PrintValues(arguments.words[0], arguments.words[1], arguments.json);
    }
    PrintAll(LoadedUnits("", arguments.words), SplitNames(arguments.properties), arguments.json);
    return kDone;
}

} // namespace

void AddShowCommand(const Command& program)
{
    const auto arguments = std::make_shared<ShowArguments>();
    const Command command = program.AddCommand("show", "Print properties of units");
    command.AddOperand("UNIT", arguments->words, "A unit and a property; with -p, units or patterns");
    command.AddOption("-p,--property", "NAMES", arguments->properties, "Such as MainPID,FragmentPath")
        .MustPass(PropertyFault);
    command.AddFlag("--json", arguments->json, "As JSON");
    command.OnCall([arguments] { return Run(*arguments); });
}

} // namespace MERO::Tool
