#pragma once

#include <optional>
#include <string_view>

namespace MERO::Core {

/// One line of a key-value or section file.
struct IniLine {
    enum class Kind { Other, Header, Pair };

    Kind kind;
    std::string_view whole; ///< with its newline, if it has one
    std::string_view name;  ///< a Header's section, or a Pair's key
    std::string_view value; ///< a Pair's value
};

/// Cuts the first line off `text`, which must not be empty.
IniLine TakeIniLine(std::string_view& text);

/// Returns the last value of `key` in `section`; without a section, among the lines before the first header.
std::optional<std::string_view> FindIniValue(std::string_view text, std::optional<std::string_view> section,
                                             std::string_view key);

/// Whether these read back exactly as they are written.
bool IsIniSection(std::string_view section);
bool IsIniPair(std::string_view key, std::string_view value);

} // namespace MERO::Core
