#include "core/failed_units.h"
#include "support.h"
#include "unit/unit_name.h"

#include <regex.h>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

constexpr std::size_t kLongestLine = 200; // expressions take quadratic time

struct Pattern {
    explicit Pattern(const char* text) { MERO_REQUIRE(regcomp(&regex, text, REG_EXTENDED) == 0); }
    Pattern(const Pattern&) = delete;
    Pattern& operator=(const Pattern&) = delete;
    ~Pattern() { regfree(&regex); }

    regex_t regex;
};

/// The unit that a line fails, by the patterns themselves; empty when it fails none.
std::string FailedUnitOf(const std::string& line)
{
    static const Pattern patterns[]{Pattern("Failed to [^:]+ ([^: ]+)"), Pattern("Job for (.+) failed."),
                                    Pattern("Job for (.+) canceled."), Pattern("A dependency job for (.+) failed.")};
    for (const Pattern& pattern : patterns) {
        regmatch_t groups[2];
        if (regexec(&pattern.regex, line.c_str(), 2, groups, 0) == 0) {
            return line.substr(static_cast<std::size_t>(groups[1].rm_so),
                               static_cast<std::size_t>(groups[1].rm_eo - groups[1].rm_so));
        }
    }
    return {};
}

} // namespace

/// A unit, and systemctl's messages.
MERO_FUZZ_TARGET(failed_units)
{
    const std::string unit = TakeLine(input);
    for (const std::string& line : Lines(input)) {
        std::vector<std::string> failed;
        FailedUnitsGet({unit}, {line}, failed);
        MERO_REQUIRE(failed.empty() || (failed == std::vector{unit} && Holds(line, NormalizedUnitNameGet(unit))));
        if (line.size() > kLongestLine) {
            continue;
        }
        const std::string wanted = FailedUnitOf(line);
        MERO_REQUIRE(failed.empty() == (wanted.empty() || NormalizedUnitNameGet(unit) != wanted));
        if (!wanted.empty() && NormalizedUnitNameGet(wanted) == wanted) {
            failed.clear();
            FailedUnitsGet({wanted}, {line}, failed);
            MERO_REQUIRE(failed == std::vector{wanted});
        }
    }
}
