#include "core/errors.h"
#include "core/no_exceptions.h"
#include "unit/metadata_key.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& display)
{
    return YesKeyGet(MERO_HERE, strUnit, "InfoCenterDisplay", display);
}

// "Dislay" is the name that C callers link.
int MEROCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDisplay) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdInfoCenterDisplayGet(szUnit, *pblDisplay); });
}
