#pragma once

#include "usage/slice_monitor.h"

#include <array>

namespace MERO::Tool {

/// The characters of bars and plots.
struct Glyphs {
    const char* filled;
    const char* empty;
    std::array<const char*, 8> levels; ///< the lowest first
};

extern const Glyphs kBlockGlyphs; ///< UTF-8
extern const Glyphs kAsciiGlyphs;

/// A bar of which `share` (0 to 1) is filled.
std::string Bar(double share, std::size_t width, const Glyphs& glyphs);

/// Plots the newest values, the last one at the right end. The lowest gets the lowest level; the highest level means at
/// least `leastSpan` more, so that a steady value is a flat line.
std::string Plot(const History& history, double leastSpan, std::size_t width, const Glyphs& glyphs);

} // namespace MERO::Tool
