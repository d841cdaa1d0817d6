#include "support.h"
#include "unit/job_info.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// A line of `list-jobs`.
MERO_FUZZ_TARGET(job_info)
{
    JobInfo info;
    if (!JobInfoParse(std::string(input), info)) {
        MERO_REQUIRE(info.unit.empty() && info.id == 0 && info.type == JobType::Unknown);
        return;
    }
    MERO_REQUIRE(Holds(input, info.unit) && !Holds(info.unit, " "));
    MERO_REQUIRE(info.id == 0 || Holds(input, std::to_string(info.id)));
    JobInfo again;
    MERO_REQUIRE(JobInfoParse(info.ToString(), again));
    MERO_REQUIRE(again.id == info.id && again.unit == info.unit && again.type == info.type &&
                 again.state == info.state);
}
