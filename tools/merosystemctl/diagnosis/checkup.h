#pragma once

#include "diagnosis/diagnosis.h"

#include <string>
#include <vector>

namespace MERO::Tool {

struct Finding {
    enum class Kind { Good, Note, Bad };

    Kind kind;
    Cause what; ///< its kind: what was checked
};

/// Checks that this machine has everything the library needs, and looks for leftovers of killed operations.
std::vector<Finding> CheckMachine();

} // namespace MERO::Tool
