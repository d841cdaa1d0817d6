#include "core/argument_check.h"
#include "core/no_exceptions.h"
#include "unit/enable_status.h"
#include "unit/offline.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

int MEROSystemdEnableStatusGetInGenerator(const std::string& strUnit)
{
    const std::vector<std::string> options{kOfflineOption};
    return _MEROSystemdEnableStatusGet(SystemctlOptsBuilder().SetCmdOpts(&options).Build(), strUnit);
}

int MEROCSystemdEnableStatusGetInGenerator(const char* szUnit)
{
    return WithoutExceptions(
        MERO_HERE, [&] { return MERO_VALID(nullptr != szUnit) ? MEROSystemdEnableStatusGetInGenerator(szUnit) : -1; },
        -1);
}
