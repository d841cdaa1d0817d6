#pragma once

#include "output/exit_code.h"

#include <merosystemd/job.hpp>

#include <string>

namespace MERO::Tool {

// systemctl's words for the library's numbers; "other" where it has none.
const char* TypeWord(Systemd::JobType type);
const char* StateWord(Systemd::JobState state);
const char* DependencyWord(int dependency);

/// Whether a LoadState says that there is no such unit.
bool IsMissing(const std::string& load);

/// Whether a unit in this ActiveState runs.
bool IsRunning(const std::string& active);

/// What a unit's state is as an exit code: kDone when it runs.
ExitCode StateExitCode(const std::string& load, const std::string& active);

/// The one that counts of several units: no such unit, failed, not active, done.
ExitCode Worse(ExitCode one, ExitCode other);

} // namespace MERO::Tool
