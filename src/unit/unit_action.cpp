#include "unit/unit_action.h"

#include "core/action_log.h"
#include "core/argument_check.h"
#include "core/failed_units.h"
#include "core/join.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Systemd {
namespace {

bool RunSystemctl(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                  const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    if (!MERO_VALID_AT(where, !vecUnits.empty())) {
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.doing);
    try {
        return MEROSystemdSystemctl(
            words.verb, options, vecUnits, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG_AT(where, LOG_INFO, "[%s] %s", units.c_str(), words.done);
                    return true;
                }
                FailedUnitsGet(vecUnits, lines, failed);
                MERO_LOG_AT(where, LOG_ERR, "[%s] %s: ret=[%d], reason:\n%s", Join(failed).c_str(), words.failed,
                            exitCode, Concatenate(lines).c_str());
                return false;
            });
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, failed);
        MERO_LOG_AT(where, LOG_ERR, "[%s] %s.", Join(failed).c_str(), words.failed);
        return false;
    }
}

} // namespace

bool RunUnitAction(SourceLine where, const ActionWords& words, const std::vector<std::string>& options,
                   const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    if (&failed == &vecUnits || &failed == &options) {
        return AppendFailedUnits(failed,
                                 [&](auto& own) { return RunUnitAction(where, words, options, vecUnits, own); });
    }
    const bool done = RunSystemctl(where, words, options, vecUnits, failed);
    if (words.event != 0) {
        MEROSystemdLogAction(words.event, done, vecUnits, failed);
    }
    return done;
}

} // namespace MERO::Systemd
