#pragma once

#include <map>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// Which services had a reason before an operation, to tell whether it changed that for one of them.
class ReasonChange {
public:
    explicit ReasonChange(const std::vector<std::string>& services);

    /// Whether one of `services`, all of which the operation was given, has its first reason now or has lost its last.
    bool HappenedTo(const std::vector<std::string>& services) const;

private:
    std::map<std::string, bool> hadReason_;
};

} // namespace MERO::Systemd
