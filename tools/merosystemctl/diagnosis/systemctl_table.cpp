#include "diagnosis/systemctl_table.h"

#include "running/general_options.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace MERO::Tool {
namespace {

/// A table's headings and where their columns begin. systemctl leaves out an empty column.
using Headings = std::vector<std::pair<std::string, std::size_t>>;

Headings HeadingsOf(const std::string& line)
{
    Headings headings;
    std::istringstream words(line);
    std::size_t end = 0;
    for (std::string word; words >> word; end += word.size()) {
        end = line.find(word, end);
        headings.emplace_back(word, end);
    }
    return headings;
}

TableRow RowOf(const std::string& line, const Headings& headings)
{
    TableRow row;
    for (const auto& [heading, column] : headings) {
        const std::size_t begin = std::min(column, line.size());
        const bool isText = heading == "DESCRIPTION"; // the last column; it contains blanks
        const std::string cell = line.substr(begin, isText ? line.npos : line.find(' ', begin) - begin);
        row[heading] = cell.substr(0, cell.find_last_not_of(' ') + 1);
    }
    return row;
}

/// Nothing if there are no headings.
std::optional<std::vector<TableRow>> RowsOf(const Texts& lines)
{
    std::optional<std::vector<TableRow>> rows;
    Headings headings;
    for (std::string line : lines) {
        line.erase(line.find_last_not_of('\n') + 1);
        const std::size_t begin = line.find_first_not_of(' ');
        if (!rows && begin != line.npos && line.compare(begin, 5, "UNIT ") == 0) {
            headings = HeadingsOf(line);
            rows.emplace();
        } else if (rows) {
            const TableRow row = RowOf(line, headings);
            if (row.at("UNIT").find('.') == line.npos) {
                break; // the number of units and an explanation follow
            }
            rows->push_back(row);
        }
    }
    return rows;
}

} // namespace

std::optional<std::vector<TableRow>> ReadTable(const std::string& verb, const Texts& options, const Texts& patterns,
                                               const SystemctlObserver& observer)
{
    Texts words{"--full", "--no-pager"};
    words.insert(words.end(), options.begin(), options.end());
    const auto opts = Systemd::SystemctlOptsBuilder().SetCmdOpts(&words).SetForceSystem(General().system).Build();
    std::optional<std::vector<TableRow>> rows;
    const auto read = [&](int exitCode, const Texts& lines) {
        observer ? observer(exitCode, lines) : void();
        rows = RowsOf(lines); // systemctl fails if there are no unit files
        if (!rows && exitCode == 0) {
            rows.emplace();
        }
        return true;
    };
    try {
        (void)MEROSystemdSystemctlUltron(verb, opts, patterns, read);
    } catch (const std::exception&) {
        return std::nullopt; // systemctl could not run
    }
    return rows;
}

std::optional<std::vector<TableRow>> FailedUnits()
{
    return ReadTable("list-units", {"--plain", "--state=failed,auto-restart"}, {});
}

} // namespace MERO::Tool
