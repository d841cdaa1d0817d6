#include "unit/unit_name.h"

#include <algorithm>
#include <array>

namespace MERO::Systemd {
namespace {

constexpr std::array<std::string_view, 11> kUnitTypes{"service", "socket", "device", "mount", "automount", "swap",
                                                      "target",  "path",   "timer",  "slice", "scope"};

} // namespace

bool IsUnitType(std::string_view type)
{
    return std::find(kUnitTypes.begin(), kUnitTypes.end(), type) != kUnitTypes.end();
}

bool HasKnownUnitType(const std::string& unit)
{
    const std::size_t dot = unit.rfind('.');
    return dot != unit.npos && IsUnitType(std::string_view(unit).substr(dot + 1));
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
