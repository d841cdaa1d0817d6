#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

using Texts = std::vector<std::string>;

/// Joins texts for messages: unit names, or a command's lines within one log line.
std::string Join(const Texts& texts, const char* between = ", ");

bool Contains(const Texts& texts, const std::string& text);

/// Joins lines that still have their newlines.
std::string Concatenate(const Texts& lines);

/// Trims `text` and splits it at each character in `delimiters`. Two delimiters side by side give an empty piece; the
/// pieces are not trimmed. A text of only blanks leaves `out` as it was. Returns false only if memory runs out (error
/// register 0x0200).
bool Split(const std::string& text, Texts& out, const std::string& delimiters);

} // namespace MERO::Systemd
