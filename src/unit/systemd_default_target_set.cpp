#include "core/errors.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

bool MEROSystemdIntDefaultTargetSet(const std::vector<std::string>& options, const std::string& strDefaultTarget)
{
    if (!MERO_VALID(!strDefaultTarget.empty())) {
        return false;
    }
    try {
        return MEROSystemdSystemctl(
            "set-default", options, {strDefaultTarget}, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG(LOG_INFO, "successfully set default target to [%s].", strDefaultTarget.c_str());
                    return true;
                }
                MERO_LOG_OUTPUT(LOG_ERR, Join(lines), "failed to set default target to [%s]: ret=[%d], reason=[%s]",
                                strDefaultTarget.c_str(), exitCode);
                return false;
            });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "failed to set default target to [%s].", strDefaultTarget.c_str());
        return false;
    }
}

bool MEROSystemdDefaultTargetSet(const std::string& strDefaultTarget)
{
    return MEROSystemdIntDefaultTargetSet({}, strDefaultTarget);
}

int MEROCSystemdDefaultTargetSet(const char* szDefaultTarget)
{
    return MERO_VALID(nullptr != szDefaultTarget) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdDefaultTargetSet(szDefaultTarget); });
}
