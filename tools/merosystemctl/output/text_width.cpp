#include "output/text_width.h"

#include "output/terminal.h"

#include <algorithm>
#include <cwchar>
#include <sstream>
#include <string_view>

namespace MERO::Tool {
namespace {

struct Character {
    std::size_t bytes;
    int width; ///< -1: it cannot be printed
};

Character FirstOf(std::string_view text)
{
    wchar_t wide = 0;
    std::mbstate_t state{};
    const std::size_t bytes = std::mbrtowc(&wide, text.data(), text.size(), &state);
    if (bytes == 0 || bytes > text.size()) {
        return {1, -1};
    }
    return {bytes, wcwidth(wide)};
}

struct FittedText {
    std::string text;
    std::size_t blanks; ///< unused columns
};

FittedText Cut(const std::string& text, std::size_t width)
{
    FittedText cut{"", width};
    for (std::string_view rest = text; !rest.empty();) {
        const Character character = FirstOf(rest);
        const std::size_t columns = character.width < 0 ? 1 : static_cast<std::size_t>(character.width);
        if (columns > cut.blanks) {
            break;
        }
        cut.text += character.width < 0 ? "?" : rest.substr(0, character.bytes);
        cut.blanks -= columns;
        rest.remove_prefix(character.bytes);
    }
    return cut;
}

} // namespace

std::size_t WidthOf(const std::string& text)
{
    std::size_t width = 0;
    for (std::string_view rest = text; !rest.empty();) {
        const Character character = FirstOf(rest);
        width += character.width < 0 ? 1 : static_cast<std::size_t>(character.width);
        rest.remove_prefix(character.bytes);
    }
    return width;
}

std::vector<std::string> WrapWords(const std::string& text, std::size_t width)
{
    std::vector<std::string> lines{""};
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        std::string& line = lines.back();
        if (!line.empty() && WidthOf(line) + 1 + WidthOf(word) > width) {
            lines.push_back(word);
        } else {
            line += (line.empty() ? "" : " ") + word;
        }
    }
    return lines;
}

std::string Shorten(const std::string& text, std::size_t width)
{
    const std::string ellipsis = HasUtf8() ? "…" : "...";
    const std::size_t end = WidthOf(ellipsis);
    return WidthOf(text) <= width ? text : width < end ? Cut(text, width).text : Cut(text, width - end).text + ellipsis;
}

std::string FitLeft(const std::string& text, std::size_t width)
{
    const FittedText cut = Cut(text, width);
    return cut.text + std::string(cut.blanks, ' ');
}

std::string FitRight(const std::string& text, std::size_t width)
{
    const FittedText cut = Cut(text, width);
    return std::string(cut.blanks, ' ') + cut.text;
}

} // namespace MERO::Tool
