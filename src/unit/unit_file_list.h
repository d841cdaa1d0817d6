#pragma once

#include <optional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The folders that the manager loads unit files from. Nothing when it cannot be asked, or words one of them in a way
/// that cannot be read.
std::optional<std::vector<std::string>> UnitFolders();

/// Appends the names of the unit files in these folders, in the order of `systemctl list-unit-files`: by type, then by
/// name without case. `type` leaves out all others, unless it is empty. What can be listed counts, readable or not:
/// files, masks, and links wherever they lead. Folders that are missing or closed to the caller are passed over.
/// Returns 0, or the errno of a folder that cannot be read for another reason; `units` is untouched then.
int ListUnitFiles(const std::vector<std::string>& folders, const std::string& type, std::vector<std::string>& units);

} // namespace MERO::Systemd
