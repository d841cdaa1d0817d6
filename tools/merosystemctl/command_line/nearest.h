#pragma once

#include "output/output.h"

#include <string>

namespace MERO::Tool {

/// The name that a misspelt word probably means; empty if none is close.
std::string Nearest(const std::string& word, const Texts& names);

} // namespace MERO::Tool
