#include "core/argument_check.h"
#include "unit/c_list.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.h>

#include <glob.h>

#include <memory>

using namespace MERO::Systemd;

bool MEROSystemdSliceList(std::vector<std::string>& slices)
{
    glob_t found{};
    const std::unique_ptr<glob_t, decltype(&globfree)> owner(&found, globfree);
    if (glob("/sys/fs/cgroup/meromonitor/*.slice", GLOB_NOSORT, nullptr, &found) != 0) {
        return false;
    }
    for (std::size_t i = 0; i < found.gl_pathc; ++i) {
        const std::string path = found.gl_pathv[i];
        slices.push_back(path.substr(path.rfind('/') + 1));
    }
    return true;
}

int MEROCSystemdSliceList(MLIBCSzList** ppListSlices)
{
    if (!MERO_VALID(nullptr != ppListSlices) || !MERO_VALID(nullptr != *ppListSlices)) {
        return 0;
    }
    std::vector<std::string> slices;
    return MEROSystemdSliceList(slices) && PushToList(slices, ppListSlices);
}
