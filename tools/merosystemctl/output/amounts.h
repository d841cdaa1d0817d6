#pragma once

#include <cstdint>
#include <string>

namespace MERO::Tool {

// Amounts in the form that people read.
std::string SecondsText(double seconds);     ///< "12.34"
std::string PercentText(double share);       ///< 0.123: "12.3%"
std::string MemoryText(std::uint64_t kB);    ///< "12.3 MiB"
std::string RateText(double bytesPerSecond); ///< "12.3 KiB/s"

} // namespace MERO::Tool
