#pragma once

namespace MERO::Tool {

/// Exit codes, as --help lists them.
enum ExitCode { kDone = 0, kFailed = 1, kUsage = 2, kNotActive = 3, kNoSuchUnit = 4, kTimedOut = 5, kCannotRun = 6 };

} // namespace MERO::Tool
