#include "unit/unit_enablement.h"

#include "core/argument_check.h"
#include "core/failed_units.h"
#include "core/file_name.h"
#include "core/join.h"
#include "unit/enable_status_flag.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

namespace MERO::Systemd {
namespace {

using Lines = std::vector<std::string>;

bool RunMaskingOf(SourceLine where, const ActionWords& words, const SystemctlOpts& opts, const std::string& unit)
{
    try {
        return MEROSystemdSystemctlUltron(words.verb, opts, {unit}, [&](int exitCode, const Lines& lines) {
            if (exitCode != 0) {
                MERO_LOG_AT(where, LOG_ERR, "%s: ret=[%d], reason=[%s]", words.failed, exitCode,
                            JoinLines(lines).c_str());
            }
            return exitCode == 0;
        });
    } catch (const std::exception&) {
        return false; // logged where it was thrown
    }
}

} // namespace

bool RunEnablement(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    if (&failed == &vecUnits || &failed == &options) {
        return AppendFailedUnits(failed,
                                 [&](auto& own) { return RunEnablement(where, words, options, vecUnits, own); });
    }
    if (!MERO_VALID_AT(where, !vecUnits.empty())) {
        return false;
    }
    if (!MERO_VALID_AT(where, EndInFileNames(vecUnits))) {
        FailedUnitsCopy(vecUnits, failed);
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.doing);
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build();
    try {
        return MEROSystemdSystemctlUltron(words.verb, opts, vecUnits, [&](int exitCode, const Lines& lines) {
            // A unit counts as changed although the change failed, deliberately.
            std::for_each(vecUnits.begin(), vecUnits.end(), SetEnableStatusChanged);
            if (exitCode == 0) {
                MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.done);
                return true;
            }
            FailedUnitsCopy(vecUnits, failed);
            MERO_LOG_AT(where, LOG_ERR, "[%s] %s: ret=[%d], reason:\n%s", units.c_str(), words.failed, exitCode,
                        Concatenate(lines).c_str());
            return false;
        });
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, failed);
        MERO_LOG_AT(where, LOG_ERR, "[%s] %s.", units.c_str(), words.failed);
        return false;
    }
}

bool RunMasking(SourceLine where, const ActionWords& words, bool runtime, const std::vector<std::string>& vecUnits,
                std::vector<std::string>& failed)
{
    if (&failed == &vecUnits) {
        return AppendFailedUnits(failed, [&](auto& own) { return RunMasking(where, words, runtime, vecUnits, own); });
    }
    if (!MERO_VALID_AT(where, !vecUnits.empty())) {
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.doing);
    std::vector<std::string> options;
    if (runtime) {
        options.emplace_back("--runtime");
    }
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetCalRunTime(true).Build();
    bool done = true;
    for (const std::string& unit : vecUnits) {
        if (!RunMaskingOf(where, words, opts, unit)) {
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

} // namespace MERO::Systemd
