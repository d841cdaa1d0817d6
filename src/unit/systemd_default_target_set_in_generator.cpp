#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/offline.h"

#include <merosystemd/systemd.hpp>

bool MEROSystemdDefaultTargetSetInGenerator(const std::string& strDefaultTarget)
{
    return MEROSystemdIntDefaultTargetSet({MERO::Systemd::kOfflineOption}, strDefaultTarget);
}

int MEROCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget)
{
    return MERO::Systemd::WithoutExceptions(MERO_HERE, [&] {
        return MERO_VALID(nullptr != szDefaultTarget) && MEROSystemdDefaultTargetSetInGenerator(szDefaultTarget);
    });
}
