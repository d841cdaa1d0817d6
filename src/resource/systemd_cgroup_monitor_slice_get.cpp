#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "core/split.h"
#include "unit/c_buffer.h"
#include "unit/unit_name.h"

#include <merosystemd/systemd.hpp>

#include <unistd.h>

using namespace MERO::Systemd;

bool MEROSystemdCgroupMonitorSliceGet(std::string& slice)
{
    std::string path;
    std::vector<std::string> folders; // the first is empty: the path begins with "/"
    if (!MEROSystemdCgroupPathnameGet(getpid(), "name=meromonitor", path) || !Split(path, folders, "/") ||
        folders.size() < 2 || UnitTypeGet(folders[1]) != "slice") {
        return false;
    }
    slice = folders[1];
    return true;
}

int MEROCSystemdCgroupMonitorSliceGet(char* szSlice, int cbSlice)
{
    if (!MERO_VALID(nullptr != szSlice) || !MERO_VALID(0 < cbSlice)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::string slice;
        return MEROSystemdCgroupMonitorSliceGet(slice) && CopyToBuffer(MERO_HERE, slice, szSlice, cbSlice);
    });
}
