#include "core/systemctl_dialect.h"

#include "core/errors.h"
#include "core/log.h"

#include <merocore/file.h>

#include <algorithm>
#include <exception>
#include <string_view>

namespace MERO::Systemd {
namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";

// The operating system's own systemctl.
constexpr SystemctlDialect kClassic{
    .listJobsExitCode = 1, .padsColumns = false, .unitFileColumns = 2, .queueEach = nullptr, .isCurrent = false};

// systemd 246 and newer. From 262 on it refuses a whole list because of one unit, unless it is to show the transaction.
constexpr SystemctlDialect kCurrent{.listJobsExitCode = 0,
                                    .padsColumns = true,
                                    .unitFileColumns = 3,
                                    .queueEach = "--show-transaction",
                                    .isCurrent = true};

std::string_view Trimmed(std::string_view line)
{
    constexpr std::string_view kBlanks = " \n";
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

bool IsPadded(const std::string& line)
{
    return Trimmed(line).find("  ") != std::string_view::npos; // the classic dialect puts one blank between columns
}

} // namespace

void SystemctlDialect::CheckColumns(const std::vector<std::string>& lines, std::size_t columns) const
{
    const auto fits = [&](const std::string& line) {
        const std::string row = Row(line);
        const std::string_view text = Trimmed(row);
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), ' ')) + 1 == columns;
    };
    const auto padded = std::find_if(lines.begin(), lines.end(), IsPadded);
    if (lines.size() >= 2 && padded != lines.end() && std::none_of(lines.begin(), lines.end(), fits)) {
        MERO_LOG(LOG_WARNING, "systemctl does not seem to speak the dialect that [%s] sets: [%s]", kConfiguration,
                 std::string(Trimmed(*padded)).c_str());
    }
}

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
        if (MLIBCErrGet() != MLIBC_ERR_NOT_FOUND && IsPassingFailure(errno)) {
            MERO_LOG(LOG_ERR, "Failed to read [%s]: %m", kConfiguration);
            throw std::exception(); // read in the wrong dialect, a table would seem empty
        }
        return kClassic;
    }
    const std::string_view dialect = word;
    if (dialect != "classic" && dialect != "current") {
        MERO_LOG(LOG_WARNING, "Unknown dialect [%s] in [%s], using classic.", word, kConfiguration);
    }
    return dialect == "current" ? kCurrent : kClassic;
}

} // namespace MERO::Systemd
