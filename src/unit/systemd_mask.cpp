#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kMask{.verb = "mask", .doing = "masking ...", .done = "masked.", .failed = "mask failed"};

bool _MEROSystemdMask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed, bool runtime)
{
    return RunMasking(MERO_HERE, kMask, runtime, vecUnits, failed);
}

} // namespace

bool MEROSystemdMask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdMask(vecUnits, failed, false);
}

bool MEROSystemdMask(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdMask, strUnit);
}

bool MEROSystemdMaskRunTime(const std::string& strUnit)
{
    const auto atRunTime = [](const std::vector<std::string>& vecUnits, std::vector<std::string>& failed) {
        return _MEROSystemdMask(vecUnits, failed, true);
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
