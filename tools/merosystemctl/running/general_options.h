#pragma once

namespace MERO::Tool {

/// The values of the options that every command takes.
struct GeneralOptions {
    bool quiet = false;      ///< print errors and answers only
    bool noProgress = false; ///< do not show what is waited for
    bool noLegend = false;   ///< tables have no headings
    bool system = false;     ///< query the system manager for an ordinary user
    unsigned timeout = 0;    ///< seconds to wait for jobs; 0: as long as they take
};

/// The options of this run. The command line sets them before a command starts.
GeneralOptions& General();

} // namespace MERO::Tool
