#include "core/argument_check.h"
#include "core/error_codes.h"
#include "core/no_exceptions.h"

#include <merosystemd/systemd.hpp>

bool MEROSystemdIsJobEnqueued(const std::string& strUnit)
{
    if (!MERO_VALID(!strUnit.empty())) {
        return false;
    }
    std::string job;
    if (!MEROSystemdShow(strUnit, "Job", job)) {
        const MERO::Systemd::SourceLine here = MERO_HERE;
        MLIBCErrSetEx(MERO::Systemd::kErrorJobUnreadable, here.file, here.line);
        return false;
    }
    return !job.empty();
}

int MEROCSystemdIsJobEnqueued(const char* szUnit)
{
    return MERO::Systemd::WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) && MEROSystemdIsJobEnqueued(szUnit); });
}
