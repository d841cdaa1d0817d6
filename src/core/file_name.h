#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Whether a name can become a file of its own in a folder: not empty, without "/" and NUL, and neither "." nor "..".
bool IsFileName(const std::string& name);
bool AreFileNames(const std::vector<std::string>& names);

} // namespace MERO::Systemd
