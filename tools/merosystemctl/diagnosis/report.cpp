#include "diagnosis/report.h"

#include "diagnosis/manager.h"
#include "output/words.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <optional>

namespace MERO::Tool {
namespace {

constexpr const char* kSystemctl = "/usr/bin/systemctl";
constexpr const char* kLog = "journalctl -t merosystemctl";

bool CanRunSystemctl()
{
    return access(kSystemctl, X_OK) == 0;
}

/// The library keeps its state there, and only root can write it.
bool MayWriteState()
{
    return access(access("/run/merosystemd", F_OK) == 0 ? "/run/merosystemd" : "/run", W_OK) == 0;
}

/// A failure that is not about the units.
std::optional<CommandError> CommonFailure(const std::string& what, int error, bool needsManager,
                                          const SystemctlWords& words)
{
    if (!CanRunSystemctl()) {
        return CommandError(kCannotRun, what + " failed: " + kSystemctl + " cannot be run");
    }
    if (error == MLIBC_ERR_LOCK_BUSY) {
        return CommandError(kTimedOut, what + " failed: another process holds a lock that it needs; try again later");
    }
    if (words.SayNoManager() || (needsManager && !words.WereHeard() && !IsManagerThere())) {
        return CommandError(kCannotRun, what + " failed: " + NoManagerText());
    }
    if (words.SayDenied() || (getuid() != 0 && !words.WereHeard() && !MayWriteState())) {
        return CommandError(kFailed, what + " failed: permission denied; run it as root");
    }
    return std::nullopt;
}

std::vector<Cause> ToCauses(const Texts& failures)
{
    std::vector<Cause> causes;
    for (const std::string& text : failures) {
        causes.push_back({"systemd", text, ""});
    }
    return causes;
}

void Unify(Texts& units)
{
    std::sort(units.begin(), units.end());
    units.erase(std::unique(units.begin(), units.end()), units.end());
}

/// Whether the diagnosis says this and more: "Job for web.service failed because ..." gives no cause.
bool IsKnown(const std::string& failure, const Diagnosis& diagnosis)
{
    return (failure.starts_with("Job for ") || failure.starts_with("A dependency job for ")) &&
           failure.find(" failed") != failure.npos &&
           std::any_of(diagnosis.causes.begin(), diagnosis.causes.end(), [](const Cause& cause) {
               return cause.kind == "failed" || cause.kind == "dependency" || cause.kind == "condition";
           });
}

UnitResult Explain(const std::string& unit, const Diagnosis& diagnosis, const std::string& verb, Texts failures)
{
    UnitResult result{.unit = unit, .code = kFailed, .fault = verb + " failed"};
    if (IsMissing(diagnosis.load)) {
        result.code = kNoSuchUnit;
        result.fault += ": " + NoSuchUnitText();
        return result;
    }
    std::erase_if(failures, [&](const std::string& failure) { return IsKnown(failure, diagnosis); });
    result.causes = ToCauses(failures);
    result.causes.insert(result.causes.end(), diagnosis.causes.begin(), diagnosis.causes.end());
    result.log = diagnosis.log;
    if (result.causes.empty() && result.log.empty()) {
        result.causes.push_back({"log", "what merosystemctl did", kLog});
    }
    return result;
}

/// Reads only whether the units exist; the states are empty if systemd does not answer.
std::vector<Diagnosis> AskLoadStates(const Texts& units)
{
    std::map<std::string, Systemd::ShownUnit> shown;
    (void)MEROSystemdShowProperties(units, {"LoadState"}, shown);
    std::vector<Diagnosis> all(units.size());
    for (std::size_t i = 0; i < units.size(); ++i) {
        all[i].load = shown[units[i]].properties["LoadState"];
    }
    return all;
}

void Print(const std::vector<Cause>& causes, const Texts& log)
{
    Diagnosis diagnosis;
    diagnosis.causes = causes;
    diagnosis.log = log;
    PrintCauses(std::cerr, diagnosis, "  ");
}

Json::Value ToJson(const UnitResult& result)
{
    Json::Value object(Json::objectValue);
    object["unit"] = result.unit;
    object["done"] = result.code == kDone;
    object["fault"] = result.fault;
    object["causes"] = MERO::Tool::ToJson(result.causes);
    object["log"] = MERO::Tool::ToJson(result.log);
    return object;
}

} // namespace

int ReportFailure(const std::string& what, int error, const SystemctlWords& words)
{
    if (const auto common = CommonFailure(what, error, true, words)) {
        PrintError(common->what());
        return common->code;
    }
    PrintError(what + " failed");
    Print(ToCauses(words.Failures()), {});
    if (words.Failures().empty()) {
        std::cerr << "  -> " << kLog << '\n';
    }
    return kFailed;
}

CommandError FailureOf(const std::string& query, const SystemctlWords& words)
{
    const auto common = CommonFailure(query, MLIBCErrGet(), true, words);
    return common ? *common : CommandError(kFailed, query + " failed; see " + kLog);
}

std::vector<UnitResult> ExplainFailure(const FailedAction& action, const SystemctlWords& words)
{
    Texts failed = action.failed.empty() ? action.units : action.failed;
    Unify(failed);
    const std::string what = failed.size() == 1 ? failed.front() + ": " + action.verb : action.verb;
    if (const auto common = CommonFailure(what, action.error, action.needsManager, words)) {
        throw CommandError(*common);
    }
    const auto diagnosed = action.diagnoses ? Diagnose(failed) : std::nullopt;
    const std::vector<Diagnosis> diagnoses = diagnosed ? *diagnosed : AskLoadStates(failed);
    std::vector<UnitResult> results;
    for (const std::string& unit : action.units) {
        if (!std::binary_search(failed.begin(), failed.end(), unit)) {
            results.push_back({.unit = unit});
        }
    }
    for (std::size_t i = 0; i < failed.size(); ++i) {
        results.push_back(Explain(failed[i], diagnoses[i], action.verb, words.FailuresOf(failed[i], failed)));
    }
    return results;
}

bool AreDone(const std::vector<UnitResult>& results)
{
    return std::all_of(results.begin(), results.end(), [](const UnitResult& result) { return result.code == kDone; });
}

int PrintResults(const std::vector<UnitResult>& results, bool json)
{
    constexpr ExitCode kWorstFirst[] = {kNoSuchUnit, kTimedOut, kFailed, kNotActive, kDone};
    auto worst = std::end(kWorstFirst) - 1;
    Json::Value list(Json::arrayValue);
    for (const UnitResult& result : results) {
        worst = std::min(worst, std::find(std::begin(kWorstFirst), std::end(kWorstFirst), result.code));
        if (json) {
            list.append(ToJson(result));
        } else if (result.code != kDone) {
            PrintError(result.unit + ": " + result.fault);
            Print(result.causes, result.log);
        }
    }
    if (json) {
        PrintJson(list);
    }
    return *worst;
}

} // namespace MERO::Tool
