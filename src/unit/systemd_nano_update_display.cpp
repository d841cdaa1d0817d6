#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/metadata_key.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

// "Dislay" is the name that callers of both forms link.
bool MEROSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& display)
{
    return YesKeyGet(MERO_HERE, strUnit, "NanoUpdateDisplay", display);
}

int MEROCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay)
{
    return WithoutExceptions(MERO_HERE, [&] {
        return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDisplay) &&
               MEROSystemdNanoUpdateDislayGet(szUnit, *pblDisplay);
    });
}
