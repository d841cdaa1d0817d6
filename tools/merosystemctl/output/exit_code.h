#pragma once

namespace MERO::Tool {

/// The exit codes of every command, as --help lists them.
enum ExitCode {
    kDone = 0,
    kFailed = 1,
    kUsage = 2,
    kNotActive = 3, ///< or another query was answered with "no"
    kNoSuchUnit = 4,
    kTimedOut = 5, ///< or a lock is held
    kCannotRun = 6 ///< systemctl, or systemd does not run
};

} // namespace MERO::Tool
