#include "output/times.h"

#include <algorithm>

namespace MERO::Tool {

std::string TimeText(std::time_t time)
{
    std::tm local{};
    localtime_r(&time, &local);
    char text[64];
    return {text, std::strftime(text, sizeof text, "%a %Y-%m-%d %H:%M:%S %Z", &local)};
}

std::string AgeText(std::time_t time)
{
    const std::time_t seconds = std::max<std::time_t>(std::time(nullptr) - time, 0);
    const auto in = [&](int unit, const char* name) { return std::to_string(seconds / unit) + name; };
    return seconds < 60      ? in(1, " s")
           : seconds < 3600  ? in(60, " min")
           : seconds < 86400 ? in(3600, " h")
                             : in(86400, seconds < 172800 ? " day" : " days");
}

} // namespace MERO::Tool
