#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdRestartWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdRestartNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdRestartNoBlock, strUnit);
}

int MEROCSystemdRestartNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdRestartNoBlock, szUnit);
}

int MEROCSystemdRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdRestartNoBlock, pListUnits, ppListFailed);
}

bool MEROSystemdTryRestartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdTryRestartWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdTryRestartNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdTryRestartNoBlock, strUnit);
}

int MEROCSystemdTryRestartNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdTryRestartNoBlock, szUnit);
}

int MEROCSystemdTryRestartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdTryRestartNoBlock, pListUnits, ppListFailed);
}
