#include "unit/job_string_map.h"

namespace MERO::Systemd {

const JobStringMap jobStringMap;

JobStringMap::JobStringMap()
{
    // "unknow" is the word that callers and logs know; it is not to be mended.
    types.insert({JobType::Unknown, "unknow"});
    types.insert({JobType::Start, "start"});
    types.insert({JobType::Stop, "stop"});

    states.insert({JobState::Unknown, "unknow"});
    states.insert({JobState::Running, "running"});
    states.insert({JobState::Waiting, "waiting"});
}

} // namespace MERO::Systemd
