#pragma once

#include "output/output.h"

#include <string>

namespace MERO::Tool {

/// The name that was meant by a misspelt word; empty when none is near.
std::string Nearest(const std::string& word, const Texts& names);

} // namespace MERO::Tool
