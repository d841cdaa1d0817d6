#include "core/c_values.h"
#include "core/errors.h"
#include "core/names.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

using namespace MERO::Systemd;

bool MEROSystemdServiceList(std::vector<std::string>& services)
{
    std::vector<std::string> units;
    if (!MEROSystemdListUnits(units, "service")) {
        return false;
    }
    std::transform(units.begin(), units.end(), std::back_inserter(services), UnitNameWithoutFileExtensionGet);
    return true;
}

int MEROCSystemdServiceList(MLIBCSzList** ppListServices)
{
    return MERO_VALID(nullptr != ppListServices) && MERO_VALID(nullptr != *ppListServices) &&
           TextsForC(MERO_HERE, ppListServices, MEROSystemdServiceList);
}
