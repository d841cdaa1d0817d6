#pragma once

#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Returns the folders that the manager loads unit files from; nothing if it does not answer, or prints one in a way
/// that cannot be parsed.
std::optional<std::vector<std::string>> UnitFolders();

/// Appends the names of the unit files in these folders, in the order of `systemctl list-unit-files`: by type, then by
/// name, ignoring case. Lists only units of `type`, unless that is empty. Readable or not, all files, masks and links
/// count, wherever the links lead. Skips folders that are missing or closed to the caller. Returns 0; if a folder
/// cannot be read for another reason, its errno, with `units` untouched.
int ListUnitFiles(const std::vector<std::string>& folders, const std::string& type, std::vector<std::string>& units);

} // namespace MERO::Systemd
