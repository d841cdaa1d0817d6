#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdDisableInGenerator(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdDisableWithOptionsInternal({kOfflineOption}, vecUnits, failed);
}

bool MEROSystemdDisableInGenerator(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdDisableInGenerator, strUnit);
}

int MEROCSystemdDisableInGenerator(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdDisableInGenerator, szUnit);
}

int MEROCSystemdDisableGroupInGenerator(const MLIBCSzList* pListUnits)
{
    return RunGuardedCGroupForm(MERO_HERE, MEROSystemdDisableInGenerator, pListUnits);
}
