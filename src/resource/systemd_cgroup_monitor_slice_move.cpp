#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "resource/cgroup_move.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdCgroupMonitorSliceMove(const std::string& strSlice)
{
    return MoveToCgroupSlice(strSlice, "meromonitor");
}

int MEROCSystemdCgroupMonitorSliceMove(const char* szSlice)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szSlice) && MEROSystemdCgroupMonitorSliceMove(szSlice); });
}
