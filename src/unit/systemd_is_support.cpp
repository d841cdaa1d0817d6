#include "core/errors.h"
#include "unit/unit_file.h"

#include <merocore/support.h>
#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIsSupportGet(const std::string& strUnit, bool& support)
{
    const auto capability = MetadataKeyGet(MERO_HERE, strUnit, "SupportKey");
    if (!capability) {
        return false;
    }
    const ErrorKeeper keeper; // "no" is an answer
    support = capability->empty() || MLIBCSupportGet(capability->c_str()) != 0;
    return true;
}

int MEROCSystemdIsSupportGet(const char* szUnit, bool* pblSupport)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblSupport) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdIsSupportGet(szUnit, *pblSupport); });
}
