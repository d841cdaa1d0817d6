#include "core/text.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kStart{
    .verb = "start", .doing = "starting ...", .done = "started.", .failed = "start failed", .event = kStartEvent};

bool _MEROSystemdStartCore(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                           std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kStart, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdStartObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                              std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdStartCore(options, vecUnits, failed, observer);
}

bool MEROSystemdStartWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                 std::vector<std::string>& failed)
{
    return MEROSystemdStartObserved(options, vecUnits, failed, {});
}

bool MEROSystemdStart(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdStartObserved({}, vecUnits, failed, {});
}

bool MEROSystemdStart(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdStart, strUnit);
}

int MEROCSystemdStart(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdStart, szUnit);
}

int MEROCSystemdStartGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdStart, pListUnits, ppListFailed);
}

bool MERO::Systemd::StartIrreversibly(const std::string& unit, bool& wasKilled)
{
    Texts failed;
    return RunUnitAction(MERO_HERE, kStart, {"--job-mode=replace-irreversibly"}, {unit}, failed, {}, &wasKilled);
}

bool MEROSystemdStartIrreversibly(const std::string& strUnit)
{
    bool wasKilled = false;
    return MERO_VALID(!strUnit.empty()) && StartIrreversibly(strUnit, wasKilled);
}

int MEROCSystemdStartIrreversibly(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdStartIrreversibly, szUnit);
}
