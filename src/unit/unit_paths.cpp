#include "unit/unit_paths.h"

#include "core/split.h"

#include <algorithm>
#include <new>

namespace MERO::Systemd {

std::vector<std::string> UnitPathsParse(const std::vector<std::string>& lines)
{
    std::vector<std::string> paths;
    for (const std::string& line : lines) {
        const std::size_t equals = line.find('=');
        const std::string property = line.substr(0, equals);
        std::vector<std::string> values;
        // A fragment is one path, whatever blanks it holds: the drop-ins' values are the ones that hold several.
        const char* const separators = property == "FragmentPath" ? "\n" : " ";
        if (equals == line.npos || (property != "FragmentPath" && property != "DropInPaths")) {
            continue;
        }
        if (!Split(line.substr(equals + 1), values, separators)) {
            throw std::bad_alloc(); // a file that is not named would stay behind
        }
        std::copy_if(values.begin(), values.end(), std::back_inserter(paths),
                     [](const std::string& value) { return !value.empty(); });
    }
    return paths;
}

} // namespace MERO::Systemd
