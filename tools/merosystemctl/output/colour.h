#pragma once

#include <string>

namespace MERO::Tool {

enum class Colour { None, Green, Yellow, Red };

/// The text in its colour, when standard output is a terminal that has colours and NO_COLOR is not set.
std::string Coloured(const std::string& text, Colour colour);

/// How systemctl colours a unit's load or active state.
Colour ColourOfState(const std::string& state);

} // namespace MERO::Tool
