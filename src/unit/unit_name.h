#pragma once

#include <string>
#include <string_view>

namespace MERO::Systemd {

/// Whether this is one of systemd's eleven unit types.
bool IsUnitType(std::string_view type);

/// Whether the text after the last "." is a unit type.
bool HasKnownUnitType(const std::string& unit);

/// The text after the last ".", known type or not; empty when there is no ".".
std::string UnitTypeGet(const std::string& unit);

/// The text before the last "."; the whole name when there is no ".".
std::string UnitNameWithoutFileExtensionGet(const std::string& unit);

/// The name itself when its type is a known one, otherwise the name with ".service" appended.
std::string NormalizedUnitNameGet(const std::string& unit);

} // namespace MERO::Systemd
