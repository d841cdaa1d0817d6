#pragma once

#include "core/log.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Returns the path of the unit's file, from the first unit directory that has it. Normalises the name first. Throws
/// std::runtime_error, with the error register at 0x0700, if there is no such file.
std::string UnitPathGet(const std::string& unit);

/// Returns the value of a key in the unit's file, cut to 1023 bytes; empty if section, key or value are missing or the
/// file is not readable. Throws like UnitPathGet, and also if descriptors or memory run out or the disk fails.
std::string UnitSectionKeyGet(const std::string& unit, const std::string& section, const std::string& key);

/// Returns the value of a key in section X-Tarvix; an instance has its template's keys. Throws like UnitSectionKeyGet.
std::string XTarvixKeyGet(const std::string& unit, const std::string& key);

// Shared by the metadata queries. `where` is the source line that the log shows for a refused argument.

/// Returns a key of the unit's X-Tarvix section, empty if it is missing. Returns nothing for an empty unit name
/// (0x0D00), a unit without a file (0x0700), or a file that could not be read.
std::optional<std::string> MetadataKeyGet(SourceLine where, const std::string& strUnit, const char* key);

/// Reads a boolean key: "yes" is true, anything else is false. Returns false, with `answer` untouched, if
/// MetadataKeyGet returns nothing.
bool YesKeyGet(SourceLine where, const std::string& strUnit, const char* key, bool& answer);

/// Appends the targets among the units that the key lists.
bool TargetsKeyGet(SourceLine where, const std::string& strUnit, const char* key, std::vector<std::string>& targets);

/// Returns the paths of the unit's file and drop-ins, from what `systemctl show` prints for FragmentPath and
/// DropInPaths, in any order. Throws std::bad_alloc.
std::vector<std::string> UnitPathsParse(const std::vector<std::string>& lines);

/// Writes a section to `directory`/`fileName`, and makes the directory and its parents. Replaces an existing section of
/// that name. Returns false, and logs it, on failure.
bool AddUnitSection(const std::string& directory, const std::string& fileName, const std::string& section,
                    const std::map<std::string, std::string>& values);

} // namespace MERO::Systemd
