#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kMask{.verb = "mask", .doing = "masking ...", .done = "masked.", .failed = "mask failed"};

bool _MEROSystemdMask(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                      std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunMasking(MERO_HERE, kMask, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdMaskObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdMask(options, vecUnits, failed, observer);
}

bool MEROSystemdMask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdMask({}, vecUnits, failed, {});
}

bool MEROSystemdMask(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdMask, strUnit);
}

bool MEROSystemdMaskRunTime(const std::string& strUnit)
{
    const auto atRunTime = [](const std::vector<std::string>& vecUnits, std::vector<std::string>& failed) {
        return _MEROSystemdMask({"--runtime"}, vecUnits, failed, {});
    };
    return RunSingleForm(MERO_HERE, atRunTime, strUnit);
}

int MEROCSystemdMask(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdMask, szUnit);
}

int MEROCSystemdMaskRunTime(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdMaskRunTime, szUnit);
}

int MEROCSystemdMaskGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdMask, pListUnits);
}
