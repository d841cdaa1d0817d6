#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The kernel's tables of mounts, swap files and exports: a line each, columns with blanks between, paths with their
/// own blanks as octal escapes ("\040").
namespace MERO::Systemd {

/// The paths in one column of such a table, the first column being 0. What does not begin with "/" is left out.
std::vector<std::string> PathsInColumn(std::string_view table, std::size_t column);

} // namespace MERO::Systemd
