#pragma once

#include <string>
#include <vector>

namespace MERO::Systemd {

/// The unit's file and drop-ins, as systemctl's `show` prints the properties FragmentPath and DropInPaths: in any
/// order, a value empty where there is none, several drop-ins with blanks between. Throws std::bad_alloc.
std::vector<std::string> UnitPathsParse(const std::vector<std::string>& lines);

} // namespace MERO::Systemd
