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

struct TopView {
    std::string unit; ///< the slice whose processes are shown
    Order order = Order::Cpu;
    bool hasHelp = true;
    std::size_t firstProcess = 0; ///< index of the first process on the page
    std::string message{};        ///< in place of the help
};

/// The index of the chosen slice; 0 if it is gone. There must be slices.
std::size_t ChosenSlice(const std::vector<SliceUsage>& slices, const TopView& view);

/// Scrolls the chosen slice's processes down by so many pages, as far as there are any.
void ScrollProcesses(TopView& view, const std::vector<SliceUsage>& slices, PageSize size, int pages);

/// Composes a page of this size: the slices, their total, and the processes of the chosen one. The slices must be in
/// the view's order.
std::vector<Line> ComposePage(const std::vector<SliceUsage>& slices, const TopView& view, PageSize size,
                              const Glyphs& glyphs);

} // namespace MERO::Tool
