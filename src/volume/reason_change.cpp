#include "volume/reason_change.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>

namespace MERO::Systemd {

ReasonChange::ReasonChange(const std::vector<std::string>& services)
{
    for (const std::string& service : services) {
        hadReason_[service] = CheckServiceHasReason(service);
    }
}

bool ReasonChange::HappenedTo(const std::vector<std::string>& services) const
{
    return std::any_of(services.begin(), services.end(), [this](const std::string& service) {
        return hadReason_.at(service) != CheckServiceHasReason(service);
    });
}

} // namespace MERO::Systemd
