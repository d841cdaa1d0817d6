#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIsDefaultEnableGet(const std::string& strUnit, bool& defaultEnable)
{
    return YesKeyGet(MERO_HERE, strUnit, "DefaultEnable", defaultEnable);
}

int MEROCSystemdIsDefaultEnableGet(const char* szUnit, bool* pblDefaultEnable)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDefaultEnable) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdIsDefaultEnableGet(szUnit, *pblDefaultEnable); });
}
