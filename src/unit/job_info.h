#pragma once

#include <merosystemd/job.hpp>

#include <boost/bimap.hpp>

namespace MERO::Systemd {

/// systemd's words for job types and states, in both directions. A missing key throws std::out_of_range.
struct JobStringMap {
    JobStringMap();

    boost::bimap<JobType, std::string> types;
    boost::bimap<JobState, std::string> states;
};

extern const JobStringMap jobStringMap;

/// Parses a line of `list-jobs`: number, unit, type and state, separated by single blanks. An invalid number becomes 0;
/// an unknown type or state leaves its field as it was. Returns false unless there are four fields. Throws
/// std::bad_alloc.
bool JobInfoParse(const std::string& line, JobInfo& info);

} // namespace MERO::Systemd
