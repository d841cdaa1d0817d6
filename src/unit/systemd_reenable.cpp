#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kReenable{.verb = "reenable",
                                .doing = "reenabling ...",
                                .done = "reenabled.",
                                .failed = "reenable failed",
                                .changesFiles = true};

bool _MEROSystemdReenableCore(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                              const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kReenable, {}, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdReenableObserved(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed,
                                 const SystemctlObserver& observer)
{
    return _MEROSystemdReenableCore(vecUnits, failed, observer);
}

bool MEROSystemdReenable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdReenableCore(vecUnits, failed, {});
}

bool MEROSystemdReenable(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdReenable, strUnit);
}

int MEROCSystemdReenable(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdReenable, szUnit);
}

int MEROCSystemdReenableGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdReenable, pListUnits);
}
