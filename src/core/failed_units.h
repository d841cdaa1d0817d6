#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Appends to `failed`, once for each line that reports it, the caller's spelling of every unit that systemctl's
/// `lines` report as failed. A reported unit that is not among `units` is logged.
void FailedUnitsGet(const std::vector<std::string>& units, const std::vector<std::string>& lines,
                    std::vector<std::string>& failed);

/// Appends all of `from` to `to`.
void FailedUnitsCopy(const std::vector<std::string>& from, std::vector<std::string>& to);

} // namespace MERO::Systemd
