#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdReloadOrRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdReloadOrRestartWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdReloadOrRestartNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdReloadOrRestartNoBlock, strUnit);
}

int MEROCSystemdReloadOrRestartNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdReloadOrRestartNoBlock, szUnit);
}

int MEROCSystemdReloadOrRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdReloadOrRestartNoBlock, pListUnits, ppListFailed);
}
