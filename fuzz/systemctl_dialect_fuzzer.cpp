#include "core/systemctl_dialect.h"
#include "support.h"

#include <algorithm>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

std::string WithoutBlanks(std::string text)
{
    std::erase(text, ' ');
    return text;
}

} // namespace

/// A line of a table of systemctl's.
MERO_FUZZ_TARGET(systemctl_dialect)
{
    const std::string line(input);
    SystemctlDialect dialect{.listJobsExitCode = 0, .padsColumns = false, .unitFileColumns = 2};
    MERO_REQUIRE(dialect.Row(line) == line);

    dialect.padsColumns = true;
    const std::string row = dialect.Row(line);
    MERO_REQUIRE(!Holds(row, "  ") && dialect.Row(row) == row && WithoutBlanks(row) == WithoutBlanks(line));
    std::string padded;
    for (char character : row) {
        padded += character == ' ' ? "   " : std::string(1, character);
    }
    MERO_REQUIRE(dialect.Row(padded) == row);
}
