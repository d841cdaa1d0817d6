#include "core/failed_units.h"
#include "core/names.h"
#include "core/systemctl_dialect.h"
#include "core/text.h"
#include "fuzzer.h"
#include "unit/job_info.h"
#include "unit/unit_file.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

namespace {

/// A unit, and systemctl's messages.
void FailedUnits(std::string_view input)
{
    const std::string unit = TakeLine(input);
    const std::vector<std::string> lines = Lines(input);
    std::vector<std::string> failed;
    FailedUnitsGet({unit}, lines, failed);
    MERO_REQUIRE(failed.size() <= lines.size());
    for (const std::string& one : failed) {
        MERO_REQUIRE(one == unit && Holds(input, NormalizedUnitNameGet(unit)));
    }
}

/// A line of `list-jobs`.
void Job(std::string_view input)
{
    JobInfo info;
    if (!JobInfoParse(std::string(input), info)) {
        MERO_REQUIRE(info.unit.empty() && info.id == 0 && info.type == JobType::Unknown);
        return;
    }
    MERO_REQUIRE(Holds(input, info.unit) && !Holds(info.unit, " "));
    JobInfo again;
    MERO_REQUIRE(JobInfoParse(info.ToString(), again));
    MERO_REQUIRE(again.id == info.id && again.unit == info.unit && again.type == info.type &&
                 again.state == info.state);
}

/// A line of a table.
void TableRow(std::string_view input)
{
    const std::string line(input);
    const SystemctlDialect dialect{.listJobsExitCode = 0, .padsColumns = true, .unitFileColumns = 3};
    const std::string row = dialect.Row(line);
    MERO_REQUIRE(!Holds(row, "  ") && dialect.Row(row) == row && row.size() <= line.size());
    dialect.CheckColumns(Lines(input), 3);
}

/// The output of `show`.
void UnitPaths(std::string_view input)
{
    for (const std::string& path : UnitPathsParse(Lines(input))) {
        MERO_REQUIRE(!path.empty());
        const std::size_t at = input.find(path);              // paths come in the order of the text
        MERO_REQUIRE(at != input.npos || Holds(input, "\"")); // unless they were quoted
        input.remove_prefix(at != input.npos ? at + path.size() : 0);
    }
}

void UnitName(std::string_view input)
{
    const std::string unit(input);
    const std::string stem = UnitNameWithoutFileExtensionGet(unit);
    const std::string type = UnitTypeGet(unit);
    MERO_REQUIRE(!Holds(type, ".") && unit == (Holds(unit, ".") ? stem + "." + type : stem));
    const std::string normalized = NormalizedUnitNameGet(unit);
    MERO_REQUIRE(HasKnownUnitType(normalized) && normalized.starts_with(unit));
    MERO_REQUIRE(NormalizedUnitNameGet(normalized) == normalized);
}

/// The delimiters, and the text.
void SplitText(std::string_view input)
{
    const std::string delimiters = TakeLine(input);
    const std::string_view trimmed = Trim(input);
    std::vector<std::string> pieces;
    MERO_REQUIRE(Split(std::string(input), pieces, delimiters));
    MERO_REQUIRE(pieces.empty() == trimmed.empty());
    std::size_t size = pieces.empty() ? 0 : pieces.size() - 1; // the delimiters between the pieces
    for (const std::string& piece : pieces) {
        MERO_REQUIRE(piece.find_first_of(delimiters) == piece.npos);
        size += piece.size();
    }
    MERO_REQUIRE(size == trimmed.size());
}

} // namespace

MERO_FUZZ(FailedUnits, Job, TableRow, UnitPaths, UnitName, SplitText)
