#pragma once

#include "output/output.h"

#include <merosystemd/systemd.hpp>

#include <string>

namespace MERO::Tool {

/// What systemctl said while it carried out an action.
class SystemctlWords {
public:
    /// Hears it. For the library; this must outlive it.
    SystemctlObserver Listener();

    /// Whether systemctl was run at all.
    bool WereHeard() const { return wereHeard_; }

    /// Why runs failed, one text for each message: without "Failed to start web.service:", and without pointers to
    /// other commands.
    const Texts& Failures() const { return failures_; }

    /// Those that name the unit; else those that name none of the others; else all.
    Texts FailuresOf(const std::string& unit, const Texts& others) const;

    /// Lines of runs that succeeded, but for the links that were made or removed.
    const Texts& Warnings() const { return warnings_; }

    bool SayNoManager() const; ///< systemctl did not reach systemd
    bool SayDenied() const;    ///< the caller may not do it

private:
    bool wereHeard_ = false;
    Texts lines_, failures_, warnings_;
};

} // namespace MERO::Tool
