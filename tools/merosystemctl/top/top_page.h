#pragma once

#include "top/plot.h"

namespace MERO::Tool {

enum class Style { Plain, Strong, Chosen, Cpu, Memory };

struct Span {
    std::string text;
    Style style = Style::Plain;
};

using Line = std::vector<Span>;

struct PageSize {
    std::size_t width;
    std::size_t height;
};

/// What the user has chosen to see.
struct TopView {
    std::string unit; ///< the slice whose processes are shown
    Order order = Order::Cpu;
    bool hasHelp = true;
};

/// The number of the slice that is chosen; the first one's when it has gone. There must be slices.
std::size_t ChosenSlice(const std::vector<SliceUsage>& slices, const TopView& view);

/// A page of at most that height, of lines of at most that width: the slices, and the processes of the chosen one.
std::vector<Line> ComposePage(const std::vector<SliceUsage>& slices, const TopView& view, PageSize size,
                              const Glyphs& glyphs);

} // namespace MERO::Tool
