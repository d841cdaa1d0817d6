#pragma once

#include <ctime>
#include <string>

namespace MERO::Tool {

/// A time as systemctl prints it, in the local zone: "Sun 2026-11-22 03:17:24 UTC".
std::string TimeText(std::time_t time);

/// The time that has passed since, in its largest unit: "7 min".
std::string AgeText(std::time_t time);

} // namespace MERO::Tool
