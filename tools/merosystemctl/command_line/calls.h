#pragma once

#include "output/output.h"

#include <functional>
#include <map>

namespace CLI {
class App;
} // namespace CLI

namespace MERO::Tool {

/// Which commands are built: a call needs its own alone, and the help of the program the names of all.
enum class Extent { One, Names, All };

/// What the parser does not keep of commands.
struct Calls {
    Extent extent;
    std::string name;                               ///< of the one
    std::map<const CLI::App*, Texts*> behindDashes; ///< of the commands that take words there
    std::function<int()> called;                    ///< what the command that was called does
};

} // namespace MERO::Tool
