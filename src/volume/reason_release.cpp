#include "volume/reason_release.h"

#include "core/join.h"
#include "volume/reason_change.h"

#include <merosystemd/systemd.hpp>

namespace MERO::Systemd {

bool ReleaseReason(SourceLine where, const char* doing, AfterRelease after, const std::string& reason,
                   const std::vector<std::string>& services, std::vector<std::string>& failed)
{
    MERO_LOG_AT(where, LOG_INFO, "[%s] %s [%s] ...", Join(services).c_str(), doing, reason.c_str());
    const ReasonChange change(services);
    std::vector<std::string> released;
    const bool unlinked = UnlinkReasons(reason, services, released, failed);
    if (released.empty()) {
        return false;
    }
    const bool changed = change.HappenedTo(released);
    std::vector<std::string> ignored;
    (void)MEROSystemdResetFailed(released, ignored);
    const bool started = after == AfterRelease::LeaveStopped || MEROSystemdStart(released, failed);
    if (changed) {
        (void)MEROSystemdDaemonReload(); // its result does not count here, unlike in a stop by reason
    }
    return unlinked && started;
}

} // namespace MERO::Systemd
