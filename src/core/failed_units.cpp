#define MERO_SOURCE_NAME "systemd_internal_lib"
#include "core/failed_units.h"

#include "core/log.h"
#include "unit/unit_name.h"

#include <regex.h>

#include <map>
#include <optional>

namespace MERO::Systemd {
namespace {

struct Message {
    const char* beginning; ///< of the pattern: what a line must hold for a match
    const char* pattern;   ///< group 1 is the unit; unanchored, and "." is any character
};

/// systemctl's messages, in the order they are tried.
constexpr Message kFailures[] = {
    {"Failed to ", "Failed to [^:]+ ([^: ]+)"},
    {"Job for ", "Job for (.+) failed."},
    {"Job for ", "Job for (.+) canceled."},
    {"A dependency job for ", "A dependency job for (.+) failed."},
};

class Pattern {
public:
    explicit Pattern(const char* text) : error_(regcomp(&regex_, text, REG_EXTENDED))
    {
        if (error_ != 0) {
            MERO_LOG(LOG_ERR, "regcomp(): %s", ErrorText(error_).c_str());
        }
    }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;
    ~Pattern()
    {
        if (error_ == 0) {
            regfree(&regex_);
        }
    }

    /// Group 1 of the first match in `line`.
    std::optional<std::string> FirstGroup(const std::string& line) const
    {
        if (error_ != 0) {
            return std::nullopt;
        }
        regmatch_t groups[2];
        const int error = regexec(&regex_, line.c_str(), 2, groups, 0);
        if (error == REG_NOMATCH) {
            return std::nullopt;
        }
        if (error != 0) {
            MERO_LOG(LOG_ERR, "regexec(): %s", ErrorText(error).c_str());
            return std::nullopt;
        }
        if (groups[1].rm_so < 0) {
            MERO_LOG(LOG_ERR, "Wrong pattern without parenthesis.");
            return std::nullopt;
        }
        return line.substr(static_cast<std::size_t>(groups[1].rm_so),
                           static_cast<std::size_t>(groups[1].rm_eo - groups[1].rm_so));
    }

private:
    std::string ErrorText(int error) const
    {
        char text[256];
        regerror(error, &regex_, text, sizeof text);
        return text;
    }

    regex_t regex_{};
    int error_;
};

std::optional<std::string> FailedUnitOf(const std::string& line)
{
    for (const Message& message : kFailures) {
        if (line.find(message.beginning) == line.npos) {
            continue; // most lines fail no unit, and compiling a pattern costs much more than this
        }
        // Compiled anew each time: one compiled pattern is behind a lock that all threads of the host would share.
        if (auto unit = Pattern(message.pattern).FirstGroup(line)) {
            return unit;
        }
    }
    return std::nullopt;
}

} // namespace

void FailedUnitsGet(const std::vector<std::string>& units, const std::vector<std::string>& lines,
                    std::vector<std::string>& failed)
{
    std::map<std::string, std::string> callersNames;
    for (const std::string& unit : units) {
        callersNames[NormalizedUnitNameGet(unit)] = unit;
    }
    for (const std::string& line : lines) {
        const auto unit = FailedUnitOf(line);
        if (!unit) {
            continue;
        }
        const auto entry = callersNames.find(*unit);
        if (entry == callersNames.end()) {
            MERO_LOG(LOG_ERR, "unexpected failed unit [%s].", unit->c_str());
        } else {
            failed.push_back(entry->second);
        }
    }
}

void FailedUnitsCopy(const std::vector<std::string>& from, std::vector<std::string>& to)
{
    to.insert(to.end(), from.begin(), from.end());
}

} // namespace MERO::Systemd
