#pragma once

#include "output/exit_code.h"

#include <merosystemd/job.hpp>

#include <string>

namespace MERO::Tool {

// systemctl's words for the library's numbers; "other" if it has none.
const char* TypeWord(Systemd::JobType type);
const char* StateWord(Systemd::JobState state);
const char* DependencyWord(int dependency);

/// Whether this LoadState means that the unit does not exist.
bool IsMissing(const std::string& load);

bool IsRunning(const std::string& active);

/// The exit code for a unit's state: kDone if it runs.
ExitCode StateExitCode(const std::string& load, const std::string& active);

/// The exit code for several units. The first of these wins: no such unit, failed, not active, done.
ExitCode Worse(ExitCode one, ExitCode other);

} // namespace MERO::Tool
