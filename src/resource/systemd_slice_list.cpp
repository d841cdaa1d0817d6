#include "core/c_values.h"
#include "core/directory_entries.h"
#include "core/errors.h"
#include "core/names.h"
#include "resource/cgroup_layout.h"
#include "resource/slice_cgroup.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.h>

#include <algorithm>
#include <iterator>

using namespace MERO::Systemd;

bool MEROSystemdSliceList(std::vector<std::string>& slices)
{
    const ErrorKeeper keeper; // "none" is an answer
    if (TracksSystemdSlices()) {
        return WithoutExceptions(MERO_HERE, [&] { return SlicesOfSystemd(slices); }) != 0;
    }
    std::vector<std::string> names; // not glob(): it frees names twice if memory runs out
    if (DirectoryEntries("/sys/fs/cgroup/meromonitor/", names) != 0) {
        return false;
    }
    const auto before = slices.size();
    std::copy_if(names.begin(), names.end(), std::back_inserter(slices),
                 [](const std::string& name) { return !name.starts_with('.') && UnitTypeGet(name) == "slice"; });
    return slices.size() > before;
}

int MEROCSystemdSliceList(MLIBCSzList** ppListSlices)
{
    return MERO_VALID(nullptr != ppListSlices) && MERO_VALID(nullptr != *ppListSlices) &&
           TextsForC(MERO_HERE, ppListSlices, MEROSystemdSliceList);
}
