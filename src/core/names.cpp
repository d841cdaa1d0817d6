#include "core/names.h"

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

bool IsUnitFileName(const std::string& name)
{
    // See unit_name_is_valid() in systemd's unit-name.c.
    constexpr std::size_t kMaxLength = 255;
    constexpr std::string_view kCharacters = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ:-_.\\@";
    return name.size() <= kMaxLength && HasKnownUnitType(name) && name.find_first_not_of(kCharacters) == name.npos &&
           name.rfind('.') > 0 && name.front() != '@';
}

bool IsUnitName(const std::string& name)
{
    const std::size_t at = name.find('@');
    return IsUnitFileName(name) && (at == name.npos || at + 1 < name.rfind('.'));
}

bool IsSliceName(const std::string& name)
{
    return name.find('/') == name.npos && UnitTypeGet(name) == "slice";
}

bool IsFileName(const std::string& name)
{
    return !name.empty() && name.find('/') == name.npos && name.find('\0') == name.npos && name != "." && name != "..";
}

bool AreFileNames(const std::vector<std::string>& names)
{
    return std::all_of(names.begin(), names.end(), IsFileName);
}

std::string LastComponent(const std::string& path)
{
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

bool EndInFileNames(const std::vector<std::string>& paths)
{
    return std::all_of(paths.begin(), paths.end(), [](const std::string& path) {
        return path.find('\0') == path.npos && IsFileName(LastComponent(path));
    });
}

} // namespace MERO::Systemd
