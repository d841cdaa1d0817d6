#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// How the two families of systemctl releases, and their systemd, differ. docs/machines.md lists what the library does
/// differently where `isCurrent` is set.
struct SystemctlDialect {
    int listJobsExitCode;        ///< of a successful `list-jobs`
    bool padsColumns;            ///< columns of tables without legend are padded, not separated by one blank
    std::size_t unitFileColumns; ///< of a `list-unit-files` line: unit and state; in the current dialect a preset
    const char* queueEach;       ///< the option that queues each unit on its own; nullptr: it always does so
    bool isCurrent;              ///< the current dialect: systemd may use cgroup version 2, units may be "refreshing"

    /// Returns a table line with single blanks between its columns.
    std::string Row(const std::string& line) const;

    /// Warns in the log if a table of `columns` columns seems to be in the other dialect: it has two lines or more,
    /// none with that many columns, and one that is padded. Such a table would be read as empty.
    void CheckColumns(const std::vector<std::string>& lines, std::size_t columns) const;
};

/// Returns the dialect that /usr/mero/etc/merosystemd/systemctl.conf names with dialect=classic or dialect=current.
/// Without the file or the key it is classic. Any other word also means classic, and is logged. Throws std::exception,
/// which is logged, if the file cannot be read for lack of descriptors or memory, or for an I/O error.
SystemctlDialect ConfiguredSystemctlDialect();

} // namespace MERO::Systemd
