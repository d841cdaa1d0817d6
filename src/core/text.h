#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// Units as messages show them, and a command's lines where they stand in one line of the log.
std::string Join(const std::vector<std::string>& texts, const char* between = ", ");

/// Lines that kept their newlines, as one text.
std::string Concatenate(const std::vector<std::string>& lines);

/// Trims `text` and splits it at each of the characters in `delimiters`: two of them side by side give an empty
/// piece, and the pieces are not trimmed. A text of blanks leaves `out` as it was. False only when there is no
/// memory (error register 0x0200).
bool Split(const std::string& text, std::vector<std::string>& out, const std::string& delimiters);

} // namespace MERO::Systemd
