#pragma once

namespace MERO::Tool {

/// What the options that every command takes ask for.
struct GeneralOptions {
    bool quiet = false;      ///< print errors and answers only
    bool noProgress = false; ///< do not show what is waited for
    bool noLegend = false;   ///< tables have no headings
    bool system = false;     ///< an ordinary user asks the system manager
    unsigned timeout = 0;    ///< seconds to wait for jobs; 0: as long as they take
};

/// Those of this program. The command line sets them before a command runs.
GeneralOptions& General();

} // namespace MERO::Tool
