#include "core/errors.h"
#include "core/log.h"
#include "core/text.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool _MEROSystemdDaemonReload()
{
    MERO_LOG(LOG_INFO, "start daemon reload");
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCalRunTime(true).Build();
    try {
        return MEROSystemdSystemctlUltron(
            "daemon-reload", opts, {}, [](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG(LOG_INFO, "daemon reload success!");
                    return true;
                }
                MERO_LOG_OUTPUT(LOG_ERR, Join(lines), "daemon reload failed: ret=[%d], reason=[%s]", exitCode);
                return false;
            });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "daemon-reload failed.");
        return false;
    }
}

} // namespace

bool MEROSystemdDaemonReload()
{
    return _MEROSystemdDaemonReload();
}

int MEROCSystemdDaemonReload(void)
{
    return WithoutExceptions(MERO_HERE, [&] { return MEROSystemdDaemonReload() ? 1 : 0; });
}
