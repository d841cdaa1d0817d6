#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdStopNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdStopWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdStopNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdStopNoBlock, strUnit);
}

int MEROCSystemdStopNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdStopNoBlock, szUnit);
}

int MEROCSystemdStopGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdStopNoBlock, pListUnits, ppListFailed);
}
