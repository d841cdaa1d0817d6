#pragma once

#include "output/output.h"

#include <functional>
#include <map>

namespace CLI {
class App;
} // namespace CLI

namespace MERO::Tool {

/// The commands to build: a call needs only its own, the program's help only the names of all.
enum class Extent { One, Names, All };

/// Facts about commands that the parser does not record.
struct Calls {
    Extent extent;
    std::string name;                              ///< of the command, for Extent::One
    std::map<const CLI::App*, Texts*> afterDashes; ///< of the commands that take words after "--"
    std::function<int()> called;                   ///< runs the command that was called
};

} // namespace MERO::Tool
