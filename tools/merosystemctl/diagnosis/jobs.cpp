#include "diagnosis/jobs.h"

#include "output/words.h"

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

Json::Value JobsToJson(const Jobs& jobs)
{
    Json::Value list(Json::arrayValue);
    for (const auto& [id, job] : jobs) {
        Json::Value& entry = list.append(Json::objectValue);
        entry["id"] = id;
        entry["unit"] = job.unit;
        entry["type"] = TypeWord(job.type);
        entry["state"] = StateWord(job.state);
    }
    return list;
}

} // namespace MERO::Tool
