#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Unit names, and names that become file names.
namespace MERO::Systemd {

/// Whether this is one of the eleven unit types.
bool IsUnitType(std::string_view type);

/// Whether the text after the last "." is a unit type.
bool HasKnownUnitType(const std::string& unit);

/// The text after the last ".", known type or not; empty if there is no ".".
std::string UnitTypeGet(const std::string& unit);

/// The text before the last "."; the whole name if there is no ".".
std::string UnitNameWithoutFileExtensionGet(const std::string& unit);

/// The name itself if it has a known type, otherwise the name with ".service" appended.
std::string NormalizedUnitNameGet(const std::string& unit);

/// Whether a unit file can have this name: a unit's or a template's, with its type.
bool IsUnitFileName(const std::string& name);

/// Whether a unit can have this name, with its type: not a template, a pattern or a path.
bool IsUnitName(const std::string& name);

/// Whether this is a slice's name that can become a folder's.
bool IsSliceName(const std::string& name);

/// Whether this can be a file name in a folder: not empty, without "/" and NUL, and neither "." nor "..".
bool IsFileName(const std::string& name);
bool AreFileNames(const std::vector<std::string>& names);

/// The part of a path after the last "/"; the whole path if it has none.
std::string LastComponent(const std::string& path);

/// Whether the last component of each path is a file name, and no path holds a NUL.
bool EndInFileNames(const std::vector<std::string>& paths);

} // namespace MERO::Systemd
