#pragma once

#include <string>

namespace MERO::Systemd {

/// Whether the name is a slice's, and can become a folder's.
bool IsSliceName(const std::string& name);

} // namespace MERO::Systemd
