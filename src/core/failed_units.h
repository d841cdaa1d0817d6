#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Appends to `failed` each unit that systemctl's `lines` report as failed, in the caller's spelling, once for each
/// line that reports it. Logs a reported unit that is not among `units`. The lists may be the same object.
void FailedUnitsGet(const std::vector<std::string>& units, const std::vector<std::string>& lines,
                    std::vector<std::string>& failed);

/// Appends `from` to `to`, which may be the same list.
void FailedUnitsCopy(const std::vector<std::string>& from, std::vector<std::string>& to);

/// Runs `operation` with a failed list of its own, and appends that to `failed` at the end. For callers that pass one
/// object as both `failed` and the list of units: the units must not change before that.
template <typename Operation>
bool AppendFailedUnits(std::vector<std::string>& failed, Operation&& operation)
{
    std::vector<std::string> own;
    const bool done = operation(own);
    FailedUnitsCopy(own, failed);
    return done;
}

} // namespace MERO::Systemd
