#include "core/errors.h"
#include "core/log.h"
#include "core/text.h"
#include "unit/unit_operation.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

bool _MEROSystemdDaemonReload(const SystemctlObserver& observer)
{
    MERO_LOG(LOG_INFO, "start daemon reload");
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCalRunTime(true).Build();
    try {
        return MEROSystemdSystemctlUltron(
            "daemon-reload", opts, {}, [&](int exitCode, const std::vector<std::string>& lines) {
                if (exitCode == 0) {
                    MERO_LOG(LOG_INFO, "daemon reload success!");
                } else {
                    MERO_LOG_OUTPUT(LOG_ERR, Join(lines), "daemon reload failed: ret=[%d], reason=[%s]", exitCode);
                }
                ShowRun(observer, exitCode, lines);
                return exitCode == 0;
            });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "daemon-reload failed.");
        return false;
    }
}

} // namespace

bool MEROSystemdDaemonReloadObserved(const SystemctlObserver& observer)
{
    return _MEROSystemdDaemonReload(observer);
}

bool MEROSystemdDaemonReload()
{
    return _MEROSystemdDaemonReload({});
}

int MEROCSystemdDaemonReload(void)
{
    return WithoutExceptions(MERO_HERE, [&] { return MEROSystemdDaemonReload() ? 1 : 0; });
}
