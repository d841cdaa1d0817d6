#include "core/file_name.h"

#include <algorithm>

namespace MERO::Systemd {

bool IsFileName(const std::string& name)
{
    return !name.empty() && name.find('/') == name.npos && name.find('\0') == name.npos && name != "." && name != "..";
}

bool AreFileNames(const std::vector<std::string>& names)
{
    return std::all_of(names.begin(), names.end(), IsFileName);
}

std::string LastComponent(const std::string& path)
{
    return path.substr(path.rfind('/') + 1); // npos + 1 is 0
}

bool EndInFileNames(const std::vector<std::string>& paths)
{
    return std::all_of(paths.begin(), paths.end(), [](const std::string& path) {
        return path.find('\0') == path.npos && IsFileName(LastComponent(path));
    });
}

} // namespace MERO::Systemd
