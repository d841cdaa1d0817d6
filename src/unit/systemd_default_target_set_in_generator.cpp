#include "core/errors.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdDefaultTargetSetInGenerator(const std::string& strDefaultTarget)
{
    return MEROSystemdIntDefaultTargetSet({kOfflineOption}, strDefaultTarget);
}

int MEROCSystemdDefaultTargetSetInGenerator(const char* szDefaultTarget)
{
    return MERO_VALID(nullptr != szDefaultTarget) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdDefaultTargetSetInGenerator(szDefaultTarget); });
}
