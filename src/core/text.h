#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

using Texts = std::vector<std::string>;

/// Units as messages show them, and a command's lines where they stand in one line of the log.
std::string Join(const Texts& texts, const char* between = ", ");

bool Contains(const Texts& texts, const std::string& text);

/// Lines that kept their newlines, as one text.
std::string Concatenate(const Texts& lines);

/// Trims `text` and splits it at each of the characters in `delimiters`: two of them side by side give an empty
/// piece, and the pieces are not trimmed. A text of blanks leaves `out` as it was. False only when there is no
/// memory (error register 0x0200).
bool Split(const std::string& text, Texts& out, const std::string& delimiters);

} // namespace MERO::Systemd
