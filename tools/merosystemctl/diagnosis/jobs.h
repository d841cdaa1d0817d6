#pragma once

#include "diagnosis/unit_properties.h"

#include <merosystemd/job.hpp>

#include <cstdint>
#include <map>
#include <vector>

namespace MERO::Tool {

/// Jobs by their numbers.
using Jobs = std::map<std::uint32_t, Systemd::JobInfo>;

/// The queued jobs, if one of the units has one: its property "Job" must have been asked for.
Jobs JobsOf(const std::vector<UnitProperties>& units);

/// The unit's own; null when it has none.
const Systemd::JobInfo* FindJob(const Jobs& jobs, const UnitProperties& unit);

Json::Value JobsToJson(const Jobs& jobs);

} // namespace MERO::Tool
