#include "top/plot.h"

#include <algorithm>
#include <cmath>

namespace MERO::Tool {

const Glyphs kBlockGlyphs{"█", "░", {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"}};
const Glyphs kAsciiGlyphs{"#", ".", {"_", ".", ":", "-", "=", "+", "*", "#"}};

std::string Bar(double share, std::size_t width, const Glyphs& glyphs)
{
    const double filled = std::round(share * static_cast<double>(width));
    std::string bar;
    for (std::size_t column = 0; column < width; ++column) {
        bar += static_cast<double>(column) < filled ? glyphs.filled : glyphs.empty;
    }
    return bar;
}

std::string Plot(const History& history, double leastSpan, std::size_t width, const Glyphs& glyphs)
{
    const std::size_t shown = std::min(width, history.size());
    std::string plot(width - shown, ' ');
    if (shown == 0) {
        return plot;
    }
    const auto first = history.end() - static_cast<std::ptrdiff_t>(shown);
    const auto [lowest, highest] = std::minmax_element(first, history.end());
    const double span = std::max(*highest - *lowest, leastSpan);
    const auto top = static_cast<double>(glyphs.levels.size() - 1);
    for (auto value = first; value != history.end(); ++value) {
        plot += glyphs.levels[static_cast<std::size_t>(std::lround((*value - *lowest) / span * top))];
    }
    return plot;
}

} // namespace MERO::Tool
