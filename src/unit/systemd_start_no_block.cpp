#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdStartNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdStartWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdStartNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdStartNoBlock, strUnit);
}

int MEROCSystemdStartNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdStartNoBlock, szUnit);
}

int MEROCSystemdStartGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdStartNoBlock, pListUnits, ppListFailed);
}
