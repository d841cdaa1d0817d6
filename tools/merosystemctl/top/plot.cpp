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

std::string Plot(const History& history, double top, std::size_t width, const Glyphs& glyphs)
{
    const std::size_t shown = std::min(width, history.size());
    const std::size_t highest = glyphs.levels.size() - 1;
    std::string plot(width - shown, ' ');
    for (std::size_t i = history.size() - shown; i < history.size(); ++i) {
        const double height = top > 0 ? std::clamp(history[i] / top, 0.0, 1.0) : 0.0;
        plot += glyphs.levels[static_cast<std::size_t>(std::lround(height * static_cast<double>(highest)))];
    }
    return plot;
}

} // namespace MERO::Tool
