#pragma once

#include "output/exit_code.h"

#include <merosystemd/job.hpp>
#include <merosystemd/status.h>

#include <string>

namespace MERO::Tool {

// systemctl's words for what the library tells in numbers; "other" where it has none.
const char* TypeWord(Systemd::JobType type);
const char* StateWord(Systemd::JobState state);
const char* LoadWord(int loadStatus);
const char* ActiveWord(int activeStatus);
const char* EnableWord(int enableStatus);
const char* DependencyWord(int dependency);

/// What a unit's state, in these words, is as an exit code: kDone when it runs.
ExitCode StateExitCode(const std::string& load, const std::string& active);

/// The one that counts of several units: no such unit, failed, not active, done.
ExitCode Worse(ExitCode one, ExitCode other);

} // namespace MERO::Tool
