#pragma once

#include <string>

namespace MERO::Tool {

enum class Colour { None, Green, Yellow, Red };

/// Returns the text in this colour if standard output is a terminal with colours and NO_COLOR is not set.
std::string Coloured(const std::string& text, Colour colour);

/// The colour that systemctl gives a unit's load or active state.
Colour ColourOfState(const std::string& state);

} // namespace MERO::Tool
