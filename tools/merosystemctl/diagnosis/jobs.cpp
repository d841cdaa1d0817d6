#include "diagnosis/jobs.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <cstdlib>

namespace MERO::Tool {

Jobs JobsOf(const std::vector<UnitProperties>& units)
{
    Jobs jobs;
    if (std::any_of(units.begin(), units.end(), [](const UnitProperties& unit) { return !unit["Job"].empty(); })) {
        (void)MEROSystemdIntJobList(jobs);
    }
    return jobs;
}

const Systemd::JobInfo* FindJob(const Jobs& jobs, const UnitProperties& unit)
{
    const auto found = jobs.find(static_cast<std::uint32_t>(std::atoll(unit["Job"].c_str())));
    return found != jobs.end() ? &found->second : nullptr;
}

} // namespace MERO::Tool
