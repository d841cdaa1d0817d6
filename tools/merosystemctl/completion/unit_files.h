#pragma once

#include "output/output.h"

#include <map>
#include <string>
#include <string_view>

namespace MERO::Tool {

/// What the unit folders hold of a name.
struct UnitFile {
    std::string path; ///< empty: there are only links to it
    bool isMasked = false;
    bool isAlias = false;  ///< a link to a unit of another name
    bool isLinked = false; ///< another name, or a folder such as multi-user.target.wants, has a link to it
};

/// By name, of all units in these folders. Where several have one, the first folder counts.
std::map<std::string, UnitFile> ReadUnitFolders(const Texts& folders);

/// Whether the file has a line that begins so, such as "[Install]".
bool HasLine(const UnitFile& file, std::string_view begin);

} // namespace MERO::Tool
