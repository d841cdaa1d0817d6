#pragma once

#include <string>

/// Reasons on disk: /run/merosystemd/reasons/<service>/<reason>, an empty file each.
namespace MERO::Systemd {

/// The folder of a service's reasons. The name is normalised first.
std::string ReasonDirectory(const std::string& service);

/// Whether the name is a service's and can become a folder's. If not, the error register is set to 0x0D00.
bool CanHaveReasons(const std::string& service);

} // namespace MERO::Systemd
