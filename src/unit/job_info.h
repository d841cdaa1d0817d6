#pragma once

#include <merosystemd/job.hpp>

#include <boost/bimap.hpp>

namespace MERO::Systemd {

/// systemd's words for job types and states, both ways. A missing key raises std::out_of_range.
struct JobStringMap {
    JobStringMap();

    boost::bimap<JobType, std::string> types;
    boost::bimap<JobState, std::string> states;
};

/// Built when the library is loaded.
extern const JobStringMap jobStringMap;

/// Reads one line of `list-jobs`: number, unit, type and state with one blank between. A number that is none is 0;
/// a type or state that the tables do not know leaves the field as it was. False unless there are four fields. Throws
/// std::bad_alloc.
bool JobInfoParse(const std::string& line, JobInfo& info);

} // namespace MERO::Systemd
