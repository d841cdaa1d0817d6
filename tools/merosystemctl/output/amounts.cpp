#include "output/amounts.h"

#include <array>
#include <iomanip>
#include <sstream>

namespace MERO::Tool {
namespace {

std::string Fixed(double value, int decimals)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(decimals) << value;
    return text.str();
}

std::string BytesText(double bytes)
{
    constexpr std::array kUnits{" B", " KiB", " MiB", " GiB", " TiB", " PiB"};
    constexpr double kHighest = 999.95; // above it, rounding to one decimal gives five digits
    std::size_t unit = 0;
    while (bytes >= kHighest && unit + 1 < kUnits.size()) {
        bytes /= 1024;
        ++unit;
    }
    return Fixed(bytes, unit == 0 ? 0 : 1) + kUnits[unit];
}

} // namespace

std::string SecondsText(double seconds)
{
    return Fixed(seconds, 2);
}

std::string PercentText(double share)
{
    return Fixed(share * 100, 1) + "%";
}

std::string MemoryText(std::uint64_t kB)
{
    return BytesText(static_cast<double>(kB) * 1024);
}

std::string RateText(double bytesPerSecond)
{
    return BytesText(bytesPerSecond) + "/s";
}

} // namespace MERO::Tool
