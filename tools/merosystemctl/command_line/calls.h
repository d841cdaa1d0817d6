#pragma once

#include "output/output.h"

#include <functional>
#include <map>

namespace CLI {
class App;
} // namespace CLI

namespace MERO::Tool {

/// What the parser does not keep of commands.
struct Calls {
    std::map<const CLI::App*, Texts*> behindDashes; ///< of the commands that take words there
    std::function<int()> called;                    ///< what the command that was called does
};

} // namespace MERO::Tool
