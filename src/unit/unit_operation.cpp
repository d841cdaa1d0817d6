#include "unit/unit_operation.h"

#include "core/c_values.h"
#include "core/errors.h"
#include "core/failed_units.h"
#include "core/names.h"
#include "core/systemctl.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "unit/enable_status_flag.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <string_view>
#include <utility>

namespace MERO::Systemd {
namespace {

/// Whether systemctl queued nothing because it could not queue one unit of the list.
bool IsListRefused(const Texts& units, const Texts& lines)
{
    constexpr std::string_view kRefusal =
        "Failed to enqueue jobs: "; // see start_unit() in systemd's systemctl-start-unit.c
    return units.size() > 1 &&
           std::any_of(lines.begin(), lines.end(), [&](const std::string& line) { return line.starts_with(kRefusal); });
}

using OutcomeCallback = std::function<bool(const SystemctlOutcome&)>;

/// Runs the action; if the whole list is refused, runs it again with each unit queued on its own.
bool RunOnList(const ActionWords& words, const SystemctlOpts& opts, const Texts& units, const OutcomeCallback& callback)
{
    bool isRefused = false;
    const bool done = RunSystemctl(words.verb, opts, units, [&](const SystemctlOutcome& outcome) {
        isRefused = outcome.exitCode != 0 && IsListRefused(units, outcome.lines) &&
                    ConfiguredSystemctlDialect().queueEach != nullptr;
        return !isRefused && callback(outcome);
    });
    if (!isRefused) {
        return done;
    }
    Texts options = *opts.cmdOpts;
    options.emplace_back(ConfiguredSystemctlDialect().queueEach);
    SystemctlOpts each = opts;
    each.cmdOpts = &options;
    return RunSystemctl(words.verb, each, units, callback);
}

bool RunOnUnits(SourceLine where, const ActionWords& words, const Texts& options, const Texts& vecUnits, Texts& failed,
                const SystemctlObserver& observer, bool* wasKilled)
{
    if (!MERO_VALID_AT(where, !vecUnits.empty())) {
        return false;
    }
    if (words.changesFiles && !MERO_VALID_AT(where, EndInFileNames(vecUnits))) {
        FailedUnitsCopy(vecUnits, failed);
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.doing);
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(words.changesFiles).Build();
    try {
        return RunOnList(words, opts, vecUnits, [&](const SystemctlOutcome& outcome) {
            const auto& [exitCode, isKilled, lines] = outcome;
            if (wasKilled != nullptr) {
                *wasKilled = isKilled;
            }
            if (words.changesFiles) {
                std::for_each(vecUnits.begin(), vecUnits.end(), SetEnableStatusChanged);
            }
            if (exitCode == 0) {
                MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.done);
            } else {
                words.changesFiles ? FailedUnitsCopy(vecUnits, failed) : FailedUnitsGet(vecUnits, lines, failed);
                MERO_LOG_OUTPUT_AT(where, LOG_ERR, Concatenate(lines), "[%s] %s: ret=[%d], reason:\n%s",
                                   (words.changesFiles ? units : Join(failed)).c_str(), words.failed, exitCode);
            }
            ShowRun(observer, exitCode, lines);
            return exitCode == 0;
        });
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, failed);
        // An action's failed list may already hold other units: the log names them too.
        const bool isAction = !words.changesFiles && words.notRun == nullptr;
        MERO_LOG_AT(where, LOG_ERR, "[%s] %s.", (isAction ? Join(failed) : units).c_str(),
                    words.notRun != nullptr ? words.notRun : words.failed);
        return false;
    }
}

bool RunMaskingOf(SourceLine where, const ActionWords& words, const SystemctlOpts& opts, const std::string& unit,
                  const SystemctlObserver& observer)
{
    try {
        return MEROSystemdSystemctlUltron(words.verb, opts, {unit}, [&](int exitCode, const Texts& lines) {
            if (exitCode != 0) {
                MERO_LOG_OUTPUT_AT(where, LOG_ERR, Join(lines), "%s: ret=[%d], reason=[%s]", words.failed, exitCode);
            }
            ShowRun(observer, exitCode, lines);
            return exitCode == 0;
        });
    } catch (const std::exception&) {
        return false; // logged where it was thrown
    }
}

} // namespace

bool RunUnitAction(SourceLine where, const ActionWords& words, const Texts& options, const Texts& vecUnits,
                   Texts& failed, const SystemctlObserver& observer, bool* wasKilled)
{
    if (&failed == &vecUnits || &failed == &options) {
        return AppendFailedUnits(failed, [&](auto& own) {
            return RunUnitAction(where, words, options, vecUnits, own, observer, wasKilled);
        });
    }
    const bool done = RunOnUnits(where, words, options, vecUnits, failed, observer, wasKilled);
    if (words.event != 0) {
        MEROSystemdLogAction(words.event, done, vecUnits, failed);
    }
    return done;
}

bool RunMasking(SourceLine where, const ActionWords& words, const Texts& options, const Texts& vecUnits, Texts& failed,
                const SystemctlObserver& observer)
{
    if (&failed == &vecUnits || &failed == &options) {
        return AppendFailedUnits(failed,
                                 [&](auto& own) { return RunMasking(where, words, options, vecUnits, own, observer); });
    }
    if (!MERO_VALID_AT(where, !vecUnits.empty())) {
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.doing);
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build();
    bool done = true;
    for (const std::string& unit : vecUnits) {
        if (!RunMaskingOf(where, words, opts, unit, observer)) {
            failed.push_back(unit);
            done = false;
        }
    }
    if (done) {
        MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.done);
    } else {
        MERO_LOG_AT(where, LOG_ERR, "[%s] %s.", units.c_str(), words.failed);
    }
    return done;
}

void ShowRun(const SystemctlObserver& observer, int exitCode, const Texts& lines)
{
    if (observer) {
        observer(exitCode, lines);
    }
}

bool RunSingleForm(SourceLine where, ListForm* operation, const std::string& strUnit)
{
    if (!MERO_VALID_AT(where, !strUnit.empty())) {
        return false;
    }
    Texts failed;
    return operation({strUnit}, failed);
}

int RunCForm(SourceLine where, SingleForm* operation, const char* szUnit)
{
    return MERO_VALID_AT(where, nullptr != szUnit) &&
           WithoutExceptions(where, [&] { return operation(szUnit); }, 0, {.what = szUnit, .isUnit = true});
}

int RunCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return MERO_VALID_AT(where, nullptr != pListUnits) &&
           RunOnCList(where, {.what = "a list of units", .stopsNoMemoryOnly = true}, operation, pListUnits,
                      ppListFailed);
}

int RunGuardedCGroupForm(SourceLine where, ListForm* operation, const MLIBCSzList* pListUnits)
{
    return MERO_VALID_AT(where, nullptr != pListUnits) &&
           RunOnCList(where, {.what = "a list of units"}, operation, pListUnits, nullptr);
}

int RunOnCList(SourceLine where, const Boundary& boundary, const std::function<ListForm>& operation,
               const MLIBCSzList* list, MLIBCSzList** ppListFailed)
{
    const auto run = [&] {
        Texts failed;
        const bool done = operation(FromList(list), failed);
        if (!done) {
            PushFailedUnits(failed, ppListFailed);
        }
        return done;
    };
    return WithoutExceptions(where, run, 0, boundary);
}

} // namespace MERO::Systemd
