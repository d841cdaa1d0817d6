#include "core/c_values.h"
#include "core/errors.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

#include <boost/algorithm/string/trim.hpp>

using namespace MERO::Systemd;

bool MEROSystemdDefaultTargetGet(std::string& defaultTarget)
{
    try {
        return MEROSystemdSystemctl("get-default", {}, [&](int exitCode, const std::vector<std::string>& lines) {
            if (exitCode != 0) {
                MERO_LOG_OUTPUT(LOG_ERR, Concatenate(lines), "failed to get default target: ret=[%d], reason=[%s]",
                                exitCode);
                return false;
            }
            if (lines.size() != 1) {
                MERO_LOG_OUTPUT(LOG_ERR, Concatenate(lines),
                                "failed to get default target: result is invalid. Result: %s");
                return false;
            }
            defaultTarget = boost::algorithm::trim_copy(lines.front());
            return true;
        });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "failed to get default target.");
        return false;
    }
}

int MEROCSystemdDefaultTargetGet(char* szDefaultTarget, int cbDefaultTarget)
{
    return MERO_VALID(nullptr != szDefaultTarget) && MERO_VALID(0 < cbDefaultTarget) &&
           TextForC(MERO_HERE, szDefaultTarget, cbDefaultTarget, MEROSystemdDefaultTargetGet);
}
