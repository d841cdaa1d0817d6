#include "core/errors.h"
#include "resource/cgroup_layout.h"
#include "resource/cgroup_move.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdCgroupSystemdSliceMove(const std::string& strSlice)
{
    return MoveToCgroupSlice(strSlice, "systemd") &&
           (TracksSystemdSlices() || MoveToCgroupSlice(strSlice, "meromonitor"));
}

int MEROCSystemdCgroupSystemdSliceMove(const char* szSlice)
{
    return MERO_VALID(nullptr != szSlice) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdCgroupSystemdSliceMove(szSlice); });
}
