#pragma once

#include "diagnosis/unit_properties.h"

#include <merosystemd/job.hpp>

#include <cstdint>
#include <map>
#include <vector>

namespace MERO::Tool {

using Jobs = std::map<std::uint32_t, Systemd::JobInfo>; ///< by number

/// The queued jobs, read only if one of the units has a job. Their property "Job" must have been queried.
Jobs JobsOf(const std::vector<UnitProperties>& units);

/// The unit's job; null if it has none.
const Systemd::JobInfo* FindJob(const Jobs& jobs, const UnitProperties& unit);

Json::Value JobsToJson(const Jobs& jobs);

} // namespace MERO::Tool
