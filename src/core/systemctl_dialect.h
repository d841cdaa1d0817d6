#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace MERO::Systemd {

/// The words of one family of systemctl releases, and what may be asked of their systemd, where the families differ.
/// docs/machines.md has a table of what is asked differently where `isCurrent` holds.
struct SystemctlDialect {
    int listJobsExitCode;        ///< of a `list-jobs` that listed the jobs
    bool padsColumns;            ///< tables without legend are padded with blanks, not set with one blank between
    std::size_t unitFileColumns; ///< of a `list-unit-files` line: unit and state, or a preset too
    const char* queueEach;       ///< the option that has each unit of a list queued by itself; nullptr: it always is
    bool isCurrent;              ///< cgroup version 2 may be systemd's hierarchy, and units may be "refreshing"

    /// A table line with one blank between its columns.
    std::string Row(const std::string& line) const;

    /// Logs a warning when a table of `columns` columns seems to be in the other dialect: two lines or more, none with
    /// so many columns, and one that is padded. Read as it is, it would seem empty.
    void CheckColumns(const std::vector<std::string>& lines, std::size_t columns) const;
};

/// The dialect that /usr/mero/etc/merosystemd/systemctl.conf names with dialect=classic or dialect=current.
/// No file and no key mean classic; so does any other word, which is logged.
SystemctlDialect ConfiguredSystemctlDialect();

} // namespace MERO::Systemd
