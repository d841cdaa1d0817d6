#pragma once

#include "platform/core/owners.h"

#include <string>

namespace MERO::Systemd {

/// Makes a folder and its missing parents, and lets the program mkdir have its look at them: the folder (O_PATH), or
/// none, with the error register set, when that fails or the way there is refused (see WalkToDirectory). What is made
/// has mode 0755 less the umask.
Descriptor MakeDirectory(const std::string& directory);

} // namespace MERO::Systemd
