#include "core/errors.h"
#include "core/text.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool SetDefaultTarget(const std::vector<std::string>& options, const std::string& strDefaultTarget,
                      const SystemctlObserver& observer)
{
    if (!MERO_VALID(!strDefaultTarget.empty())) {
        return false;
    }
    try {
        return MEROSystemdSystemctl(
            "set-default", options, {strDefaultTarget}, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG(LOG_INFO, "successfully set default target to [%s].", strDefaultTarget.c_str());
                } else {
                    MERO_LOG_OUTPUT(LOG_ERR, Join(lines), "failed to set default target to [%s]: ret=[%d], reason=[%s]",
                                    strDefaultTarget.c_str(), exitCode);
                }
                ShowRun(observer, exitCode, lines);
                return exitCode == 0;
            });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "failed to set default target to [%s].", strDefaultTarget.c_str());
        return false;
    }
}

} // namespace

bool MEROSystemdIntDefaultTargetSet(const std::vector<std::string>& options, const std::string& strDefaultTarget)
{
    return SetDefaultTarget(options, strDefaultTarget, {});
}

bool MEROSystemdDefaultTargetSetObserved(const std::string& strDefaultTarget, const SystemctlObserver& observer)
{
    return SetDefaultTarget({}, strDefaultTarget, observer);
}

bool MEROSystemdDefaultTargetSet(const std::string& strDefaultTarget)
{
    return SetDefaultTarget({}, strDefaultTarget, {});
}

int MEROCSystemdDefaultTargetSet(const char* szDefaultTarget)
{
    return MERO_VALID(nullptr != szDefaultTarget) &&
           WithoutExceptions(MERO_HERE, [=] { return MEROSystemdDefaultTargetSet(szDefaultTarget); });
}
