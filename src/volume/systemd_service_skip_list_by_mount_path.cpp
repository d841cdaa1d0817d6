#include "core/errors.h"
#include "unit/unit_file.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdServiceSkipListByMntPath(const std::string& strService, bool& skip)
{
    if (!MERO_VALID(!strService.empty())) {
        return false;
    }
    return YesKeyGet(MERO_HERE, strService, "SkipListByMntPath", skip);
}
