#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Names of units, and names that become files' names.
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

/// Whether a unit's file can have this name, with its type: a unit's or a template's.
bool IsUnitFileName(const std::string& name);

/// Whether a unit can have this name, with its type: no template, no pattern, no path.
bool IsUnitName(const std::string& name);

/// Whether the name is a slice's, and can become a folder's.
bool IsSliceName(const std::string& name);

/// Whether a name can become a file of its own in a folder: not empty, without "/" and NUL, and neither "." nor "..".
bool IsFileName(const std::string& name);
bool AreFileNames(const std::vector<std::string>& names);

/// The part of a path after the last "/": the path itself when it has none.
std::string LastComponent(const std::string& path);

/// Whether the last component of each path is a file's name, and no path holds NUL.
bool EndInFileNames(const std::vector<std::string>& paths);

} // namespace MERO::Systemd
