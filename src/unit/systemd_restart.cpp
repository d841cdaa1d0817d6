#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kRestart{
    .verb = "restart", .doing = "restarting ...", .done = "restarted.", .failed = "restart failed"};

constexpr ActionWords kTryRestart{
    .verb = "try-restart", .doing = "try-restarting ...", .done = "try-restarted.", .failed = "try-restart failed"};

bool _MEROSystemdRestartCore(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, bool tryRestart, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, tryRestart ? kTryRestart : kRestart, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdRestartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdRestartCore(options, vecUnits, failed, false, observer);
}

bool MEROSystemdRestartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                   std::vector<std::string>& failed)
{
    return MEROSystemdRestartObserved(options, vecUnits, failed, {});
}

bool MEROSystemdRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdRestartObserved({}, vecUnits, failed, {});
}

bool MEROSystemdRestart(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdRestart, strUnit);
}

int MEROCSystemdRestart(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdRestart, szUnit);
}

int MEROCSystemdRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdRestart, pListUnits, ppListFailed);
}

bool MEROSystemdTryRestartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                   std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdRestartCore(options, vecUnits, failed, true, observer);
}

bool MEROSystemdTryRestartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                      std::vector<std::string>& failed)
{
    return MEROSystemdTryRestartObserved(options, vecUnits, failed, {});
}

bool MEROSystemdTryRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdTryRestartObserved({}, vecUnits, failed, {});
}

bool MEROSystemdTryRestart(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdTryRestart, strUnit);
}

int MEROCSystemdTryRestart(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdTryRestart, szUnit);
}

int MEROCSystemdTryRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdTryRestart, pListUnits, ppListFailed);
}
