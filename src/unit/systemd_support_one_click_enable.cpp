#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/metadata_key.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdSupportOneClickEnableGet(const std::string& strUnit, bool& oneClickEnable)
{
    return YesKeyGet(MERO_HERE, strUnit, "SupportOneClickEnable", oneClickEnable);
}

// C callers get the default-enable answer, deliberately: they have always had it.
int MEROCSystemdSupportOneClickEnableGet(const char* szUnit, bool* pblOneClickEnable)
{
    return WithoutExceptions(MERO_HERE, [&] {
        return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblOneClickEnable) &&
               MEROSystemdIsDefaultEnableGet(szUnit, *pblOneClickEnable);
    });
}
