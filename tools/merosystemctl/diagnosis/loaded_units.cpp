#include "diagnosis/loaded_units.h"

#include "running/general_options.h"

#include <merosystemd/systemd.hpp>

#include <algorithm>
#include <map>
#include <sstream>

namespace MERO::Tool {
namespace {

/// Where the columns of a table begin, by the words of its heading. A column of jobs is there only when there are some.
std::map<std::string, std::size_t> ColumnsOf(const std::string& heading)
{
    std::map<std::string, std::size_t> columns;
    std::istringstream words(heading);
    std::size_t end = 0;
    for (std::string word; words >> word; end += word.size()) {
        end = heading.find(word, end);
        columns[word] = end;
    }
    return columns;
}

/// The word that stands in a column.
std::string WordAt(const std::string& line, std::size_t column)
{
    const std::size_t begin = std::min(column, line.size());
    return line.substr(begin, line.find(' ', begin) - begin);
}

} // namespace

std::optional<std::vector<LoadedUnit>> ListLoadedUnits(const Texts& options, const Texts& patterns)
{
    Texts words{"--plain", "--full", "--no-pager"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<LoadedUnit> units;
    const auto read = [&](int exitCode, const Texts& lines) {
        std::map<std::string, std::size_t> columns;
        for (std::string line : lines) {
            line.erase(line.find_last_not_of('\n') + 1);
            if (columns.empty() && line.find("UNIT ") != line.npos && line.find(" DESCRIPTION") != line.npos) {
                columns = ColumnsOf(line);
            } else if (!columns.empty() && line.empty()) {
                break; // an explanation follows
            } else if (!columns.empty()) {
                const std::size_t description = std::min(columns["DESCRIPTION"], line.size());
                units.push_back({WordAt(line, columns["UNIT"]), WordAt(line, columns["LOAD"]),
                                 WordAt(line, columns["ACTIVE"]), WordAt(line, columns["SUB"]),
                                 line.substr(description)});
            }
        }
        return exitCode == 0;
    };
    try {
        const auto opts = Systemd::SystemctlOptsBuilder().SetCmdOpts(&words).SetForceSystem(General().system).Build();
        const bool listed = MEROSystemdSystemctlUltron("list-units", opts, patterns, read);
        return listed ? std::optional(units) : std::nullopt;
    } catch (const std::exception&) {
        return std::nullopt; // systemctl cannot be run
    }
}

} // namespace MERO::Tool
