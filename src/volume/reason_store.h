#pragma once

#include <map>
#include <string>
#include <vector>

/// Reasons on disk: /run/merosystemd/reasons/<service>/<reason>, an empty file each.
namespace MERO::Systemd {

/// The folder of a service's reasons. The name is normalised first.
std::string ReasonDirectory(const std::string& service);

/// Whether the name is a service's and can become a folder's. If not, the error register is set to 0x0D00.
bool CanHaveReasons(const std::string& service);

/// Which services had a reason before an operation, to see whether it changed that for one of them.
class ReasonChange {
public:
    explicit ReasonChange(const std::vector<std::string>& services);

    /// Whether one of `services`, all of which the operation was given, has its first reason now or has lost its last.
    bool HappenedTo(const std::vector<std::string>& services) const;

private:
    std::map<std::string, bool> hadReason_;
};

} // namespace MERO::Systemd
