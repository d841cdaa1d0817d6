#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

// C and C++ callers link to this name: "Dislay".
bool MEROSystemdNanoUpdateDislayGet(const std::string& strUnit, bool& display)
{
    return YesKeyGet(MERO_HERE, strUnit, "NanoUpdateDisplay", display);
}

int MEROCSystemdNanoUpdateDislayGet(const char* szUnit, bool* pblDisplay)
{
    return MERO_VALID(nullptr != szUnit) && MERO_VALID(nullptr != pblDisplay) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdNanoUpdateDislayGet(szUnit, *pblDisplay); });
}
