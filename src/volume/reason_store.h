#pragma once

#include <map>
#include <string>
#include <vector>

/// Reasons on disk: each is an empty file, /run/merosystemd/reasons/<service>/<reason>.
namespace MERO::Systemd {

/// Returns the folder of a service's reasons. Normalises the name first.
std::string ReasonDirectory(const std::string& service);

/// Whether this is a service's name that can become a folder's. If not, sets the error register to 0x0D00.
bool CanHaveReasons(const std::string& service);

/// Remembers which services had a reason before an action, to see whether that has changed.
class ReasonChange {
public:
    explicit ReasonChange(const std::vector<std::string>& services);

    /// Whether one of `services`, all known to the constructor, now has its first reason or has lost its last.
    bool HappenedTo(const std::vector<std::string>& services) const;

private:
    std::map<std::string, bool> hadReason_;
};

} // namespace MERO::Systemd
