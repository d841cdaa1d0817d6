#include "core/errors.h"
#include "resource/cgroup_move.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdCgroupMonitorSliceMove(const std::string& strSlice)
{
    return MoveToCgroupSlice(strSlice, "meromonitor");
}

int MEROCSystemdCgroupMonitorSliceMove(const char* szSlice)
{
    return MERO_VALID(nullptr != szSlice) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdCgroupMonitorSliceMove(szSlice); });
}
