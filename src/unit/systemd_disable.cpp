#include "core/command_options.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

constexpr ActionWords kDisable{
    .verb = "disable", .doing = "disabling ...", .done = "disabled.", .failed = "disable failed", .changesFiles = true};

bool _MEROSystemdDisableCore(std::vector<std::string> options, const std::vector<std::string>& vecUnits,
                             std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return RunUnitAction(MERO_HERE, kDisable, options, vecUnits, failed, observer);
}

} // namespace

bool MEROSystemdDisableObserved(const std::vector<std::string>& options, const std::vector<std::string>& vecUnits,
                                std::vector<std::string>& failed, const SystemctlObserver& observer)
{
    return _MEROSystemdDisableCore(options, vecUnits, failed, observer);
}

bool MEROSystemdDisableWithOptionsInternal(const std::vector<std::string>& options,
                                           const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdDisableCore(options, vecUnits, failed, {});
}

bool MEROSystemdDisableWithOptions(const std::vector<std::string>& vecUnits, const CommandOptions& options,
                                   std::vector<std::string>& failed)
{
    std::vector<std::string> words;
    GetEnableDisableOptions(options, words);
    return _MEROSystemdDisableCore(words, vecUnits, failed, {});
}

bool MEROSystemdDisable(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return _MEROSystemdDisableCore({}, vecUnits, failed, {});
}

bool MEROSystemdDisable(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdDisable, strUnit);
}

int MEROCSystemdDisable(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdDisable, szUnit);
}

int MEROCSystemdDisableGroup(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdDisable, pListUnits);
}
