#include "core/argument_check.h"
#include "core/join.h"
#include "core/no_exceptions.h"
#include "unit/c_buffer.h"

#include <merosystemd/systemd.hpp>

#include <boost/algorithm/string/trim.hpp>

using namespace MERO::Systemd;

bool MEROSystemdDefaultTargetGet(std::string& defaultTarget)
{
    try {
        return MEROSystemdSystemctl("get-default", {}, [&](int exitCode, const std::vector<std::string>& lines) {
            if (exitCode != 0) {
                MERO_LOG(LOG_ERR, "failed to get default target: ret=[%d], reason=[%s]", exitCode,
                         Concatenate(lines).c_str());
                return false;
            }
            if (lines.size() != 1) {
                MERO_LOG(LOG_ERR, "failed to get default target: result is invalid. Result: %s",
                         Concatenate(lines).c_str());
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
    if (!MERO_VALID(nullptr != szDefaultTarget) || !MERO_VALID(0 < cbDefaultTarget)) {
        return 0;
    }
    return WithoutExceptions(MERO_HERE, [&] {
        std::string defaultTarget;
        return MEROSystemdDefaultTargetGet(defaultTarget) &&
               CopyToBuffer(MERO_HERE, defaultTarget, szDefaultTarget, cbDefaultTarget);
    });
}
