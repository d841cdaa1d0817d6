#pragma once

#include <merosystemd/options.hpp>

#include <functional>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The outcome of one systemctl run.
struct SystemctlOutcome {
    int exitCode;
    bool wasKilled; ///< ended by a signal; the exit code is then 0, as callbacks are promised
    std::vector<std::string> lines;
};

/// Like MEROSystemdSystemctlUltron, but gives the callback the whole outcome.
bool RunSystemctl(const std::string& verb, const SystemctlOpts& opts, const std::vector<std::string>& units,
                  const std::function<bool(const SystemctlOutcome&)>& callback);

} // namespace MERO::Systemd
