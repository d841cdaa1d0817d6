#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kReloadOrRestart{.verb = "reload-or-restart",
                                       .doing = "doing reload-or-restart ...",
                                       .done = "done reload-or-restart.",
                                       .failed = "reload-or-restart failed"};

bool _MEROSystemdReloadOrRestartCore(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                     std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kReloadOrRestart, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdReloadOrRestartObserved(const std::vector<std::string>& options,
                                        const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                        const SystemctlObserver& observer)
{
    return _MEROSystemdReloadOrRestartCore(options, vecUnits, failed, observer);
}

bool MEROSystemdReloadOrRestartWithOptions(const std::vector<std::string>& options,
                                           const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdReloadOrRestartObserved(options, vecUnits, failed, {});
}

bool MEROSystemdReloadOrRestart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdReloadOrRestartObserved({}, vecUnits, failed, {});
}

bool MEROSystemdReloadOrRestart(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdReloadOrRestart, strUnit);
}

int MEROCSystemdReloadOrRestart(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdReloadOrRestart, szUnit);
}

int MEROCSystemdReloadOrRestartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdReloadOrRestart, pListUnits, ppListFailed);
}
