#pragma once

#include <ctime>
#include <string>

namespace MERO::Tool {

/// A time in systemctl's format and the local zone: "Sun 2026-11-22 03:17:24 UTC".
std::string TimeText(std::time_t time);

/// How long ago this was, in the largest unit that fits: "7 min".
std::string AgeText(std::time_t time);

} // namespace MERO::Tool
