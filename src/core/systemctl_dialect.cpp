#include "core/systemctl_dialect.h"

#include "core/core_error.h"
#include "core/log.h"

#include <merocore/file.h>

#include <algorithm>
#include <string_view>

namespace MERO::Systemd {
namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";

// The operating system's own systemctl.
constexpr SystemctlDialect kClassic{.listJobsExitCode = 1, .padsColumns = false, .unitFileColumns = 2};

// systemd 246 and newer.
constexpr SystemctlDialect kCurrent{.listJobsExitCode = 0, .padsColumns = true, .unitFileColumns = 3};

} // namespace

std::string SystemctlDialect::Row(const std::string& line) const
{
    std::string row = line;
    if (padsColumns) {
        row.erase(std::unique(row.begin(), row.end(), [](char a, char b) { return a == ' ' && b == ' '; }), row.end());
    }
    return row;
}

SystemctlDialect ConfiguredSystemctlDialect()
{
    const ErrorKeeper keeper; // most machines have no such file
    char word[64];
    if (MLIBCFileGetKeyValue(kConfiguration, "dialect", word, sizeof word, 0) != 0) {
        return kClassic;
    }
    const std::string_view dialect = word;
    if (dialect != "classic" && dialect != "current") {
        MERO_LOG(LOG_WARNING, "Unknown dialect [%s] in [%s], using classic.", word, kConfiguration);
    }
    return dialect == "current" ? kCurrent : kClassic;
}

} // namespace MERO::Systemd
