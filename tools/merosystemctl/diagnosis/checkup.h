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

/// Looks whether this machine has all that the library needs, and what operations that were killed have left behind.
std::vector<Finding> CheckMachine();

} // namespace MERO::Tool
