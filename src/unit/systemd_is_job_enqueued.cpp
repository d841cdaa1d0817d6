#include "core/errors.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIsJobEnqueued(const std::string& strUnit)
{
    if (!MERO_VALID(!strUnit.empty())) {
        return false;
    }
    std::string job;
    if (!MEROSystemdShow(strUnit, "Job", job)) {
        SetError(MERO_HERE, kErrorJobUnreadable);
        return false;
    }
    return !job.empty();
}

int MEROCSystemdIsJobEnqueued(const char* szUnit)
{
    return MERO_VALID(nullptr != szUnit) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdIsJobEnqueued(szUnit); });
}
