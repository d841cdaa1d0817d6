#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdInfoCenterDisplayGet(const std::string& strUnit, bool& display)
{
    return YesKeyGet(MERO_HERE, strUnit, "InfoCenterDisplay", display);
}

// C callers link to this name: "Dislay".
int MEROCSystemdInfoCenterDislayGet(const char* szUnit, bool* pblDisplay)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDisplay) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdInfoCenterDisplayGet(szUnit, *pblDisplay); });
}
