#include "core/argument_check.h"
#include "core/join.h"
#include "core/no_exceptions.h"

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
                MERO_LOG(LOG_ERR, "failed to set default target to [%s]: ret=[%d], reason=[%s]",
                         strDefaultTarget.c_str(), exitCode, JoinLines(lines).c_str());
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
    return WithoutExceptions(MERO_HERE, [&] {
        return MERO_VALID(nullptr != szDefaultTarget) && MEROSystemdDefaultTargetSet(szDefaultTarget);
    });
}
