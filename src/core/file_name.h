#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Whether a name can become a file of its own in a folder: not empty, without "/" and NUL, and neither "." nor "..".
bool IsFileName(const std::string& name);
bool AreFileNames(const std::vector<std::string>& names);

/// What stands after the last "/" of a path: the path itself when it has none.
std::string LastComponent(const std::string& path);

/// Whether the last component of each path is a file's name, and no path holds NUL.
bool EndInFileNames(const std::vector<std::string>& paths);

} // namespace MERO::Systemd
