#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Appends the names in a folder, "." and ".." left out, in the folder's order. A folder that does not exist holds
/// none; one that cannot be opened or read gives false (errno, and error register 0x0900).
bool DirectoryEntries(const std::string& directory, std::vector<std::string>& names);

} // namespace MERO::Systemd
