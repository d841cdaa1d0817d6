#pragma once

#include "output/output.h"

#include <map>
#include <string>
#include <string_view>

namespace MERO::Tool {

/// The files in the unit folders for a name.
struct UnitFile {
    std::string path; ///< empty: only links to it exist
    bool isMasked = false;
    bool isAlias = false;  ///< a link to a unit of another name
    bool isLinked = false; ///< another name, or a folder such as multi-user.target.wants, has a link to it
};

/// Returns the units of these folders by name. Where several folders have a unit, the first one counts.
std::map<std::string, UnitFile> ReadUnitFolders(const Texts& folders);

/// Whether a line of the file starts with `begin`, such as "[Install]".
bool HasLine(const UnitFile& file, std::string_view begin);

} // namespace MERO::Tool
