#pragma once

#include <merosystemd/options.hpp>

#include <functional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// What came of one run of systemctl.
struct SystemctlOutcome {
    int exitCode;
    bool wasKilled; ///< a signal ended it: the exit code is 0 then, as callbacks are promised
    std::vector<std::string> lines;
};

/// MEROSystemdSystemctlUltron, with all of the outcome.
bool RunSystemctl(const std::string& verb, const SystemctlOpts& opts, const std::vector<std::string>& units,
                  const std::function<bool(const SystemctlOutcome&)>& callback);

} // namespace MERO::Systemd
