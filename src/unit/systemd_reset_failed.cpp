#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

// "unabled": programs match this spelling.
constexpr ActionWords kResetFailed{.verb = "reset-failed",
                                   .doing = "doing reset-failed ...",
                                   .done = "reset-failed done.",
                                   .failed = "is unabled to reset-failed, skipped",
                                   .notRun = "failed to reset-failed"};

bool _MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                             const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kResetFailed, {}, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdResetFailedObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                    const SystemctlObserver& observer)
{
    return _MEROSystemdResetFailed(vecUnits, failed, observer);
}

bool MEROSystemdResetFailed(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdResetFailed(vecUnits, failed, {});
}
