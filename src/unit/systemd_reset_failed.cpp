#include "core/argument_check.h"
#include "core/failed_units.h"
#include "core/join.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool _MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    if (!MERO_VALID(!vecUnits.empty())) {
        return false;
    }
    const std::string units = Join(vecUnits);
    MERO_LOG(LOG_INFO, "[%s] doing reset-failed ...", units.c_str());
    try {
        return MEROSystemdSystemctl(
            "reset-failed", {}, vecUnits, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG(LOG_INFO, "[%s] reset-failed done.", units.c_str());
                    return true;
                }
                FailedUnitsGet(vecUnits, lines, failed);
                // "unabled" is the text that the logs have always had.
                MERO_LOG(LOG_ERR, "[%s] is unabled to reset-failed, skipped: ret=[%d], reason:\n%s",
                         Join(failed).c_str(), exitCode, Concatenate(lines).c_str());
                return false;
            });
    } catch (const std::exception&) {
        FailedUnitsCopy(vecUnits, failed);
        MERO_LOG(LOG_ERR, "[%s] failed to reset-failed.", units.c_str());
        return false;
    }
}

} // namespace

bool MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return &failed != &vecUnits
               ? _MEROSystemdResetFailed(vecUnits, failed)
               : AppendFailedUnits(failed, [&](auto& own) { return _MEROSystemdResetFailed(vecUnits, own); });
}
