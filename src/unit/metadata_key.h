#pragma once

#include "core/log.h"

#include <optional>
#include <string>
#include <vector>

/// What the metadata getters have in common. `where` is the place that a refused argument's log line names.
namespace MERO::Systemd {

/// A key of the unit's X-Tarvix section, empty when it is missing; none for an empty unit name (0x0D00) and for a
/// unit without a file (0x0700).
std::optional<std::string> MetadataKeyGet(SourceLine where, const std::string& strUnit, const char* key);

/// A key that says "yes" or anything else. False, with `answer` untouched, where MetadataKeyGet gives none.
bool YesKeyGet(SourceLine where, const std::string& strUnit, const char* key, bool& answer);

/// Appends the targets among the units that a key lists.
bool TargetsKeyGet(SourceLine where, const std::string& strUnit, const char* key, std::vector<std::string>& targets);

} // namespace MERO::Systemd
