#include "core/command_options.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kEnable{
    .verb = "enable", .doing = "enabling ...", .done = "enabled.", .failed = "enable failed", .changesFiles = true};

bool _MEROSystemdEnableCore(std::vector<std::string> options, const std::vector<std::string>& vecUnits,
                            std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kEnable, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdEnableObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                               std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdEnableCore(options, vecUnits, failed, observer);
}

bool MEROSystemdEnableWithOptionsInternal(const std::vector<std::string>& options,
                                          const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdEnableCore(options, vecUnits, failed, {});
}

bool MEROSystemdEnableWithOptions(const std::vector<std::string>& vecUnits, const CommandOptions& options,
                                  std::vector<std::string>& failed)
{
    std::vector<std::string> words;
    GetEnableDisableOptions(options, words);
    return _MEROSystemdEnableCore(words, vecUnits, failed, {});
}

bool MEROSystemdEnable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdEnableCore({}, vecUnits, failed, {});
}

bool MEROSystemdEnable(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdEnable, strUnit);
}

int MEROCSystemdEnable(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdEnable, szUnit);
}

int MEROCSystemdEnableGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdEnable, pListUnits);
}
