/// @file
/// Properties of units.
#pragma once

#include <map>
#include <string>

#pragma GCC visibility push(default)

namespace MERO::Systemd {

/// The properties of one unit.
struct ShownUnit {
    bool asked = false;                            ///< false: it could not be queried; `properties` is empty
    std::map<std::string, std::string> properties; ///< values by names, Id and Names among them; a property with
                                                   ///< several commands, such as ExecStartPre, has a line for each
};

} // namespace MERO::Systemd

#pragma GCC visibility pop
