#pragma once

#include <merosystemd/job.hpp>

#include <string>
#include <vector>

namespace MERO::Systemd {

/// What the policy says of a command while systemd has jobs for its units.
struct PolicyVerdict {
    enum class Action { Run, RunWithoutBlocking, Skip };

    Action action = Action::Run;
    JobInfo job{}; ///< the job that decided; meaningless for Run
};

/// Asks the service control policy. It holds in the early steps of the boot, for start, stop, restart and reload;
/// each unit then costs one `systemctl list-jobs`, up to the first that decides.
PolicyVerdict AskServiceControlPolicy(const std::string& verb, const std::vector<std::string>& units);

/// The units that may be try-restarted or reloaded: those that systemd is not about to stop. The others are logged.
std::vector<std::string> WithoutStoppingUnits(const std::vector<std::string>& units);

} // namespace MERO::Systemd
