#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Appends to `failed`, once for each line that reports it, the caller's spelling of every unit that systemctl's
/// `lines` report as failed. A reported unit that is not among `units` is logged. The lists may be one.
void FailedUnitsGet(const std::vector<std::string>& units, const std::vector<std::string>& lines,
                    std::vector<std::string>& failed);

/// Appends all of `from` to `to`, which may be the same list.
void FailedUnitsCopy(const std::vector<std::string>& from, std::vector<std::string>& to);

/// Runs `operation` with a failed list of its own, and appends that to `failed`, for a caller whose `failed` is the
/// list of the units too: they stay as they are until all is done.
template <typename Operation>
bool AppendFailedUnits(std::vector<std::string>& failed, Operation&& operation)
{
    std::vector<std::string> own;
    const bool done = operation(own);
    FailedUnitsCopy(own, failed);
    return done;
}

} // namespace MERO::Systemd
