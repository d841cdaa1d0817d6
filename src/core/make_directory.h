#pragma once

#include <string>

namespace MERO::Systemd {

/// Makes a folder and its missing parents with the program mkdir. Nobody but their owner may write to them, whatever
/// the host's umask is. Negative, with the error register set, when that fails.
int MakeDirectory(const std::string& directory);

} // namespace MERO::Systemd
