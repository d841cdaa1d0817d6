#include "unit/unit_name.h"

#include <string_view>

namespace MERO::Systemd {

const std::set<std::string, std::less<>> setUnitTypes{"service", "socket", "device", "mount", "automount", "swap",
                                                      "target",  "path",   "timer",  "slice", "scope"};

bool HasKnownUnitType(const std::string& unit)
{
    const std::size_t dot = unit.rfind('.');
    return dot != unit.npos && setUnitTypes.contains(std::string_view(unit).substr(dot + 1));
}

std::string UnitTypeGet(const std::string& unit)
{
    const std::size_t dot = unit.rfind('.');
    return dot != unit.npos ? unit.substr(dot + 1) : std::string();
}

std::string UnitNameWithoutFileExtensionGet(const std::string& unit)
{
    return unit.substr(0, unit.rfind('.'));
}

std::string NormalizedUnitNameGet(const std::string& unit)
{
    return HasKnownUnitType(unit) ? unit : unit + ".service";
}

} // namespace MERO::Systemd
