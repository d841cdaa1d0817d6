#include "core/argument_check.h"
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
    return WithoutExceptions(MERO_HERE, [&] {
        return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDisplay) &&
               MEROSystemdInfoCenterDisplayGet(szUnit, *pblDisplay);
    });
}
