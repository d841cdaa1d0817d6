#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/c_list.h"
#include "unit/unit_name.h"

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
    if (!MERO_VALID(nullptr != ppListServices) || !MERO_VALID(nullptr != *ppListServices)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::vector<std::string> services;
        return MEROSystemdServiceList(services) && PushToList(services, ppListServices);
    });
}
