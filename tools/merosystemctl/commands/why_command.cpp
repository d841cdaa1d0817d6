#include "commands/commands.h"
#include "diagnosis/diagnosis.h"
#include "diagnosis/manager.h"
#include "diagnosis/report.h"
#include "diagnosis/systemctl_table.h"
#include "output/colour.h"
#include "output/words.h"
#include "running/unit_patterns.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <iostream>
#include <memory>
#include <utility>

namespace MERO::Tool {
namespace {

void PrintDiagnosis(const Diagnosis& diagnosis)
{
    std::cout << diagnosis.unit
              << (StateExitCode(diagnosis.load, diagnosis.active) == kDone ? " runs: " : " does not run: ")
              << Coloured(diagnosis.active, ColourOfState(diagnosis.active)) << " (" << diagnosis.sub << ")"
              << (diagnosis.since.empty() ? "" : " since " + diagnosis.since) << '\n';
    PrintCauses(std::cout, diagnosis, "");
}

Json::Value DiagnosisToJson(const Diagnosis& diagnosis)
{
    Json::Value object(Json::objectValue);
    object["unit"] = diagnosis.unit;
    object["load"] = diagnosis.load;
    object["active"] = diagnosis.active;
    object["sub"] = diagnosis.sub;
    object["since"] = diagnosis.since;
    object["causes"] = ToJson(diagnosis.causes);
    object["log"] = ToJson(diagnosis.log);
    return object;
}

/// Prints why a unit has no diagnosis and returns the exit code; kDone if it has one.
ExitCode Refuse(const std::string& name, const Diagnosis& diagnosis)
{
    if (!diagnosis.asked) {
        PrintError(name + ": systemd cannot be asked for a unit of this name");
        return kFailed;
    }
    const bool isMissing = IsMissing(diagnosis.load);
    if (isMissing) {
        PrintError(name + ": " + NoSuchUnitText());
    }
    return isMissing ? kNoSuchUnit : kDone;
}

/// Lists what failed, is held, or is down for a volume. Returns false if systemd does not answer.
bool ListTroubled(Texts& units)
{
    const auto failed = FailedUnits();
    for (TableRow unit : failed ? *failed : std::vector<TableRow>()) {
        units.push_back(unit["UNIT"]);
    }
    Texts held;
    (void)Systemd::ListServicesWithReason(held);
    Systemd::VolumeUnmountState unmount;
    (void)MEROSystemdVolumeUnmountStateGet(unmount);
    for (const Texts& others : {held, unmount.units}) {
        units.insert(units.end(), others.begin(), others.end());
    }
    std::sort(units.begin(), units.end());
    units.erase(std::unique(units.begin(), units.end()), units.end());
    return failed.has_value();
}

int RunWhy(const Texts& words, bool json)
{
    Texts units = LoadedUnits("", words);
    const bool isForAll = units.empty();
    if (isForAll && !ListTroubled(units)) {
        return ReportFailure("listing the failed units");
    }
    const auto diagnoses = units.empty() ? std::vector<Diagnosis>() : Diagnose(units);
    if (!diagnoses) {
        return ReportFailure(ToCell(units) + ": asking why");
    }
    ExitCode code = kDone;
    Json::Value list(Json::arrayValue);
    bool isFirst = true;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const Diagnosis& diagnosis = (*diagnoses)[i];
        const ExitCode refused = Refuse(units[i], diagnosis);
        code = Worse(code, refused != kDone ? refused : StateExitCode(diagnosis.load, diagnosis.active));
        if (refused != kDone) {
            continue;
        }
        if (json) {
            list.append(DiagnosisToJson(diagnosis));
        } else {
            std::cout << (std::exchange(isFirst, false) ? "" : "\n");
            PrintDiagnosis(diagnosis);
        }
    }
    if (json && (isForAll || units.size() > 1)) {
        PrintJson(list);
    } else if (json && !list.empty()) {
        PrintJson(list[0]);
    } else if (isForAll && units.empty()) {
        std::cout << "nothing failed, is held, or is down for a volume\n";
    }
    return isForAll ? kDone : code;
}

} // namespace

void AddWhyCommand(const Command& program)
{
    struct Arguments {
        Texts units;
        bool json = false;
    };
    const auto arguments = std::make_shared<Arguments>();
    const Command command = program.AddCommand("why", "Print why units do not run");
    command.AddOptionalOperand("UNIT", arguments->units, "Units or patterns; default: all failed, held, down");
    command.AddFlag("--json", arguments->json, "As a JSON object; several units as an array");
    command.OnCall([arguments] { return RunWhy(arguments->units, arguments->json); });
}

} // namespace MERO::Tool
