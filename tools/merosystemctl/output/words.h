#pragma once

#include <merosystemd/job.hpp>
#include <merosystemd/status.h>

namespace MERO::Tool {

// systemctl's words for what the library tells in numbers; "other" where it has none.
const char* TypeWord(Systemd::JobType type);
const char* StateWord(Systemd::JobState state);
const char* LoadWord(int loadStatus);
const char* ActiveWord(int activeStatus);
const char* EnableWord(int enableStatus);
const char* DependencyWord(int dependency);

} // namespace MERO::Tool
