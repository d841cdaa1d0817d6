#include "core/file_name.h"

#include <algorithm>
#include <string_view>

namespace MERO::Systemd {

bool IsFileName(const std::string& name)
{
    return !name.empty() && name.find_first_of(std::string_view("/\0", 2)) == name.npos && name != "." && name != "..";
}

bool AreFileNames(const std::vector<std::string>& names)
{
    return std::all_of(names.begin(), names.end(), IsFileName);
}

} // namespace MERO::Systemd
