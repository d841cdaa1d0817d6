#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

// "stopped failed": programs match this text.
constexpr ActionWords kStop{
    .verb = "stop", .doing = "stopping ...", .done = "stopped.", .failed = "stopped failed", .event = kStopEvent};

bool _MEROSystemdStopCore(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                          std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kStop, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdStopObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdStopCore(options, vecUnits, failed, observer);
}

bool MEROSystemdStopWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed)
{
    return MEROSystemdStopObserved(options, vecUnits, failed, {});
}

bool MEROSystemdStop(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdStopObserved({}, vecUnits, failed, {});
}

bool MEROSystemdStop(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdStop, strUnit);
}

int MEROCSystemdStop(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdStop, szUnit);
}

int MEROCSystemdStopGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdStop, pListUnits, ppListFailed);
}
