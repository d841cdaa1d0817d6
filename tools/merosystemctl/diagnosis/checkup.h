#pragma once

#include "diagnosis/diagnosis.h"

#include <string>
#include <vector>

namespace MERO::Tool {

/// What a check of the machine found.
struct Finding {
    enum class Kind { Good, Note, Bad };

    Kind kind;
    Cause what; ///< kind: what was looked at
};

/// Checks that this machine has all that the library needs, and looks for what killed operations have left.
std::vector<Finding> CheckMachine();

} // namespace MERO::Tool
