#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MERO::Tool {

/// How many columns of a terminal a text takes, in the program's locale.
std::size_t WidthOf(const std::string& text);

/// The text in lines that are no wider, unless a word is. They break at blanks.
std::vector<std::string> WrapWords(const std::string& text, std::size_t width);

/// The text when it is no wider, else its beginning and an ellipsis.
std::string Shorten(const std::string& text, std::size_t width);

// The text cut off or filled up to a width. What cannot be printed becomes "?".
std::string FitLeft(const std::string& text, std::size_t width);
std::string FitRight(const std::string& text, std::size_t width);

} // namespace MERO::Tool
