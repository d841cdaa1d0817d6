#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MERO::Tool {

/// In terminal columns, in the program's locale.
std::size_t WidthOf(const std::string& text);

/// Breaks the text at blanks into lines of at most this width. Only a single word can be wider.
std::vector<std::string> WrapWords(const std::string& text, std::size_t width);

/// The text if it fits; else its beginning and an ellipsis.
std::string Shorten(const std::string& text, std::size_t width);

// The text, cut off or padded to the width. "?" replaces what cannot be printed.
std::string FitLeft(const std::string& text, std::size_t width);
std::string FitRight(const std::string& text, std::size_t width);

} // namespace MERO::Tool
