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

} // namespace MERO::Systemd
