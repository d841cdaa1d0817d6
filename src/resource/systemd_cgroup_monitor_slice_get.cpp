#include "core/c_values.h"
#include "core/errors.h"
#include "core/names.h"
#include "core/text.h"
#include "resource/cgroup_layout.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

using namespace MERO::Systemd;

bool MEROSystemdCgroupMonitorSliceGet(std::string& slice)
{
    std::string path;
    std::vector<std::string> folders; // the first is empty: the path begins with "/"
    const char* controllers = TracksSystemdSlices() ? "name=systemd" : "name=meromonitor";
    if (!MEROSystemdCgroupPathnameGet(getpid(), controllers, path) || !Split(path, folders, "/") ||
        folders.size() < 2 || UnitTypeGet(folders[1]) != "slice") {
        return false;
    }
    slice = folders[1];
    return true;
}

int MEROCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice)
{
    return MERO_VALID(nullptr != szSlice) && MERO_VALID(0 < cbSlice) &&
           TextForC(MERO_HERE, szSlice, cbSlice, MEROSystemdCgroupMonitorSliceGet);
}
