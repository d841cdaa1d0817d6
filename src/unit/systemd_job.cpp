#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/errors.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "unit/job_info.h"

#include <merosystemd/systemd.hpp>

using namespace MERO::Systemd;

namespace {

using Lines = std::vector<std::string>;

const std::vector<std::string> kNoLegend{"--no-legend"};
constexpr std::size_t kColumns = 4;

bool ParseRow(const SystemctlDialect& dialect, const std::string& line, JobInfo& info)
{
    const bool parsed = JobInfoParse(dialect.Row(line), info);
    if (!parsed) {
        MERO_LOG_OUTPUT(LOG_ERR, line, "Failed to parse job info: [%s]");
    }
    return parsed;
}

} // namespace

bool MEROSystemdIntJobList(std::map<std::uint32_t, JobInfo>& jobs)
{
    try {
        const SystemctlDialect dialect = ConfiguredSystemctlDialect();
        return MEROSystemdSystemctl("list-jobs", kNoLegend, {}, [&](int exitCode, const Lines& lines) {
            dialect.CheckColumns(lines, kColumns);
            if (exitCode != dialect.listJobsExitCode) {
                MERO_LOG_OUTPUT(LOG_ERR, Concatenate(lines), "Failed to list-jobs, ret=[%d], reason=[%s]", exitCode);
                return false;
            }
            for (const std::string& line : lines) {
                JobInfo info;
                if (ParseRow(dialect, line, info)) {
                    jobs[info.id] = info;
                }
            }
            return true;
        });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "list-jobs failed.");
        return false;
    }
}

bool MEROSystemdIntJobGet(const std::string& strUnit, JobInfo& info)
{
    if (!MERO_VALID((!strUnit.empty()))) {
        return false;
    }
    try {
        const SystemctlDialect dialect = ConfiguredSystemctlDialect();
        const std::string unit = NormalizedUnitNameGet(strUnit);
        return MEROSystemdSystemctl("list-jobs", kNoLegend, {unit}, [&](int exitCode, const Lines& lines) {
            if (lines.empty()) {
                return false; // no job
            }
            dialect.CheckColumns(lines, kColumns);
            if (exitCode != dialect.listJobsExitCode) {
                MERO_LOG_OUTPUT(LOG_ERR, Concatenate(lines), "Failed to list-jobs [%s], ret=[%d], reason=[%s]",
                                strUnit.c_str(), exitCode);
                return false;
            }
            return ParseRow(dialect, lines.front(), info);
        });
    } catch (const std::exception&) {
        MERO_LOG(LOG_ERR, "list-jobs failed.");
        return false;
    }
}
