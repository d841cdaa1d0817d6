#pragma once

#include "core/log.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The path of the unit's file in the first unit directory that holds it. The name is normalised first.
/// Throws std::runtime_error, with the error register at 0x0700, when no directory does.
std::string UnitPathGet(const std::string& unit);

/// The value of a key in the unit's file, cut to 1023 bytes; empty when section, key or value are missing or the
/// file is none that can be read. Throws as UnitPathGet, and when descriptors or memory are out or the disk fails.
std::string UnitSectionKeyGet(const std::string& unit, const std::string& section, const std::string& key);

/// The value of a key in section X-Tarvix; an instance's keys are read from its template. Throws as UnitPathGet.
std::string XTarvixKeyGet(const std::string& unit, const std::string& key);

// What the metadata getters have in common. `where` is the place that a refused argument's log line names.

/// A key of the unit's X-Tarvix section, empty when it is missing; none for an empty unit name (0x0D00) and for a
/// unit without a file (0x0700).
std::optional<std::string> MetadataKeyGet(SourceLine where, const std::string& strUnit, const char* key);

/// A key that says "yes" or anything else. False, with `answer` untouched, where MetadataKeyGet gives none.
bool YesKeyGet(SourceLine where, const std::string& strUnit, const char* key, bool& answer);

/// Appends the targets among the units that a key lists.
bool TargetsKeyGet(SourceLine where, const std::string& strUnit, const char* key, std::vector<std::string>& targets);

/// The unit's file and drop-ins, as systemctl's `show` prints the properties FragmentPath and DropInPaths: in any
/// order, a value empty where there is none, several drop-ins as a list. Throws std::bad_alloc.
std::vector<std::string> UnitPathsParse(const std::vector<std::string>& lines);

/// Writes a section into `directory`/`fileName`, making the directory and its parents. A section of that name that
/// is there is replaced. Failures are logged and give false.
bool AddUnitSection(const std::string& directory, const std::string& fileName, const std::string& section,
                    const std::map<std::string, std::string>& values);

} // namespace MERO::Systemd
