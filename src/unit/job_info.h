#pragma once

#include <merosystemd/job.hpp>

namespace MERO::Systemd {

/// Reads one line of `list-jobs`: number, unit, type and state with one blank between. A number that is none is 0;
/// a type or state that the tables do not know leaves the field as it was. False unless there are four fields. Throws
/// std::bad_alloc.
bool JobInfoParse(const std::string& line, JobInfo& info);

} // namespace MERO::Systemd
