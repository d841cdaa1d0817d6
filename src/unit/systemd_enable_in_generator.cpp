#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdEnableInGenerator(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdEnableWithOptionsInternal({kOfflineOption}, vecUnits, failed);
}

bool MEROSystemdEnableInGenerator(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdEnableInGenerator, strUnit);
}

int MEROCSystemdEnableInGenerator(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdEnableInGenerator, szUnit);
}

int MEROCSystemdEnableGroupInGenerator(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdEnableInGenerator, pListUnits);
}
