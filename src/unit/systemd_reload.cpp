#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kReload{
    .verb = "reload", .doing = "reloading ...", .done = "reloaded.", .failed = "reload failed"};

const std::string kNoBlock = "--no-block";

// No reload waits for its job, not even in the blocking forms.
bool _MEROSystemdReloadCore(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                            std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    std::vector<std::string> notBlocking = options;
    if (std::find(options.begin(), options.end(), kNoBlock) == options.end()) {
        notBlocking.push_back(kNoBlock);
    }
    return RunUnitAction(MERO_HERE, kReload, notBlocking, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdReloadObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdReloadCore(options, vecUnits, failed, observer);
}

bool MEROSystemdReloadWithOptions(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                  std::vector<std::string>& failed)
{
    return MEROSystemdReloadObserved(options, vecUnits, failed, {});
}

bool MEROSystemdReload(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdReloadObserved({}, vecUnits, failed, {});
}

bool MEROSystemdReload(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdReload, strUnit);
}

int MEROCSystemdReload(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdReload, szUnit);
}

int MEROCSystemdReloadGroup(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdReload, pListUnits, ppListFailed);
}
