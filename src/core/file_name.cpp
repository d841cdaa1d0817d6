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

} // namespace MERO::Systemd
