#include "unit/status.h"
#include "unit/unit_operation.h"

using namespace MERO::Systemd;

int MEROSystemdEnableStatusGetInGenerator(const std::string& strUnit)
{
    const std::vector<std::string> options{kOfflineOption};
    return _MEROSystemdEnableStatusGet(SystemctlOptsBuilder().SetCmdOpts(&options).Build(), strUnit);
}

int MEROCSystemdEnableStatusGetInGenerator(const char* szUnit)
{
    return StatusForC(MERO_HERE, MEROSystemdEnableStatusGetInGenerator, szUnit);
}
