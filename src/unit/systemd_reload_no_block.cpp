#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdReloadNoBlock(const std::vector<std::string>& vecUnits, std::vector<std::string>& failed)
{
    return MEROSystemdReloadWithOptions({"--no-block"}, vecUnits, failed);
}

bool MEROSystemdReloadNoBlock(const std::string& strUnit)
{
    return RunSingleForm(MERO_HERE, MEROSystemdReloadNoBlock, strUnit);
}

int MEROCSystemdReloadNoBlock(const char* szUnit)
{
    return RunCForm(MERO_HERE, MEROSystemdReloadNoBlock, szUnit);
}

int MEROCSystemdReloadGroupNoBlock(const MLIBCSzList* pListUnits, MLIBCSzList** ppListFailed)
{
    return RunCGroupForm(MERO_HERE, MEROSystemdReloadNoBlock, pListUnits, ppListFailed);
}
