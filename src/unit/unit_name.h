#pragma once

#include <set>
#include <string>

namespace MERO::Systemd {

/// systemd's unit types. (The name stands in the text of a refused argument's log line.)
extern const std::set<std::string, std::less<>> setUnitTypes;

/// Whether the text after the last "." is one of systemd's eleven unit types.
bool HasKnownUnitType(const std::string& unit);

/// The text after the last ".", known type or not; empty when there is no ".".
std::string UnitTypeGet(const std::string& unit);

/// The text before the last "."; the whole name when there is no ".".
std::string UnitNameWithoutFileExtensionGet(const std::string& unit);

/// The name itself when its type is a known one, otherwise the name with ".service" appended.
std::string NormalizedUnitNameGet(const std::string& unit);

} // namespace MERO::Systemd
