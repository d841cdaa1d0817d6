#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& oneClickEnable)
{
    return YesKeyGet(MERO_HERE, strUnit, "SupportOneClickEnable", oneClickEnable);
}

// C callers get the answer for default-enable, and rely on it.
int MEROCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblOneClickEnable) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdIsDefaultEnableGet(szUnit, *pblOneClickEnable); });
}
