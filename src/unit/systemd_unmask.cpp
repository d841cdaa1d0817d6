#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kUnmask{
    .verb = "unmask", .doing = "unmasking ...", .done = "unmasked.", .failed = "unmask failed"};

bool _MEROSystemdUnmask(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                        std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunMasking(MERO_HERE, kUnmask, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdUnmaskObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdUnmask(options, vecUnits, failed, observer);
}

bool MEROSystemdUnmask(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdUnmask({}, vecUnits, failed, {});
}

bool MEROSystemdUnmask(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdUnmask, strUnit);
}

bool MEROSystemdUnmaskRunTime(const std::string& strUnit)
{
    const auto atRunTime = [](const std::vector<std::string>& vecUnits, std::vector<std::string>& failed) {
        return _MEROSystemdUnmask({"--runtime"}, vecUnits, failed, {});
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
