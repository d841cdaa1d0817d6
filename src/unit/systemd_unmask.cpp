#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kUnmask{
    .verb = "unmask", .doing = "unmasking ...", .done = "unmasked.", .failed = "unmask failed"};

bool _MEROSystemdUnmask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed, bool runtime)
{
    return RunMasking(MERO_HERE, kUnmask, runtime, vecUnits, failed);
}

} // namespace

bool MEROSystemdUnmask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdUnmask(vecUnits, failed, false);
}

bool MEROSystemdUnmask(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdUnmask, strUnit);
}

bool MEROSystemdUnmaskRunTime(const std::string& strUnit)
{
    const auto atRunTime = [](const std::vector<std::string>& vecUnits, std::vector<std::string>& failed) {
        return _MEROSystemdUnmask(vecUnits, failed, true);
    };
    return RunSingleForm(MERO_HERE, atRunTime, strUnit);
}

int MEROCSystemdUnmask(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdUnmask, szUnit);
}

int MEROCSystemdUnmaskRunTime(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdUnmaskRunTime, szUnit);
}

int MEROCSystemdUnmaskGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdUnmask, pListUnits);
}
