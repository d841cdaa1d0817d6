#pragma once

#include "usage/slice_monitor.h"

#include <array>

namespace MERO::Tool {

/// The characters that bars and plots are made of.
struct Glyphs {
    const char* filled;
    const char* empty;
    std::array<const char*, 8> levels; ///< the lowest first
};

extern const Glyphs kBlockGlyphs; ///< in UTF-8
extern const Glyphs kAsciiGlyphs;

/// `share` of a bar is filled: 0 to 1.
std::string Bar(double share, std::size_t width, const Glyphs& glyphs);

/// The newest values, at the right end. The lowest of them has the lowest level, and one that is higher by at least
/// `leastSpan` the highest: what does not change is a flat line.
std::string Plot(const History& history, double leastSpan, std::size_t width, const Glyphs& glyphs);

} // namespace MERO::Tool
