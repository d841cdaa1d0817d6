#include "diagnosis/isolation.h"

#include <merocore/file.h>
#include <merosystemd/systemd.hpp>

namespace MERO::Tool {
namespace {

constexpr const char* kState = "/run/merosystemd/isolate-state";

std::string StateValue(const char* key)
{
    char value[64];
    return MLIBCFileGetKeyValue(kState, key, value, sizeof value, 0) == 0 ? value : "";
}

} // namespace

Isolation CurrentIsolation()
{
    using enum Isolation::Kind;
    Systemd::IsolateState state;
    if (MEROSystemdIsolateStateGet(state)) {
        return {.kind = state.isolating ? Running : None, .target = state.target, .pid = {}};
    }
    const std::string target = StateValue("target"), pid = StateValue("pid");
    return {.kind = target.empty() || pid.empty() ? Unreadable : Interrupted, .target = target, .pid = pid};
}

std::optional<Cause> IsolationCause(const Isolation& isolation)
{
    const std::string back = "merosystemctl isolate default.target";
    switch (isolation.kind) {
    case Isolation::Kind::Running:
        return Cause{"isolation", "the machine is being isolated to " + isolation.target, ""};
    case Isolation::Kind::Interrupted:
        return Cause{"isolation",
                     "an isolation to " + isolation.target + " was interrupted (PID " + isolation.pid + " is gone)",
                     back};
    case Isolation::Kind::Unreadable:
        return Cause{"isolation", std::string("cannot read ") + kState, back};
    default:
        return std::nullopt;
    }
}

} // namespace MERO::Tool
