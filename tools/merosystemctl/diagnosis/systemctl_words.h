#pragma once

#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <string>

namespace MERO::Tool {

/// The output of systemctl during an action.
class SystemctlWords {
public:
    /// The observer to pass to the library. It must not outlive this object.
    SystemctlObserver Listener();

    /// Whether systemctl ran at all.
    bool WereHeard() const { return wereHeard_; }

    /// The messages of runs that failed, without "Failed to start web.service:" and without hints at other commands.
    const Texts& Failures() const { return failures_; }

    /// The failures that name the unit; if none, those that name none of `others`; if none, all.
    Texts FailuresOf(const std::string& unit, const Texts& others) const;

    /// The output of runs that succeeded, without lines about links.
    const Texts& Warnings() const { return warnings_; }

    bool SayNoManager() const; ///< systemctl could not reach systemd
    bool SayDenied() const;    ///< the caller lacks permission

private:
    bool wereHeard_ = false;
    Texts lines_, failures_, warnings_;
};

} // namespace MERO::Tool
