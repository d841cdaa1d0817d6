#include "commands/commands.h"
#include "commands/usual_arguments.h"
#include "diagnosis/diagnosis.h"
#include "diagnosis/report.h"
#include "output/colour.h"
#include "output/words.h"

#include <iostream>
#include <memory>

namespace MERO::Tool {
namespace {

void Print(const Diagnosis& diagnosis)
{
    std::cout << diagnosis.unit
              << (StateExitCode(diagnosis.load, diagnosis.active) == kDone ? " runs: " : " does not run: ")
              << Coloured(diagnosis.active, ColourOfState(diagnosis.active)) << " (" << diagnosis.sub << ")"
              << (diagnosis.since.empty() ? "" : " since " + diagnosis.since) << '\n';
    PrintCauses(std::cout, diagnosis, "");
}

void PrintAsJson(const Diagnosis& diagnosis)
{
    Json::Value object(Json::objectValue);
    object["unit"] = diagnosis.unit;
    object["load"] = diagnosis.load;
    object["active"] = diagnosis.active;
    object["sub"] = diagnosis.sub;
    object["since"] = diagnosis.since;
    object["causes"] = Json::Value(Json::arrayValue);
    for (const Cause& cause : diagnosis.causes) {
        Json::Value& entry = object["causes"].append(Json::objectValue);
        entry["kind"] = cause.kind;
        entry["text"] = cause.text;
        entry["remedy"] = cause.remedy;
    }
    object["log"] = ToJson(diagnosis.log);
    PrintJson(object);
}

int Run(const std::string& unit, bool json)
{
    const std::optional<Diagnosis> diagnosis = Diagnose(unit);
    if (!diagnosis) {
        return ReportFailure(unit + ": asking why");
    }
    const ExitCode code = StateExitCode(diagnosis->load, diagnosis->active);
    if (code == kNoSuchUnit) {
        PrintError(unit + ": there is no such unit");
    } else {
        json ? PrintAsJson(*diagnosis) : Print(*diagnosis);
    }
    return code;
}

} // namespace

void AddWhyCommand(const Command& program)
{
    struct Arguments {
        std::string unit;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("why", "Tell why a unit does not run");
    AddUnit(command, arguments->unit);
    command.AddFlag("--json", arguments->json, "As a JSON object");
    command.OnCall([arguments] { return Run(arguments->unit, arguments->json); });
}

} // namespace MERO::Tool
