#pragma once

#include <optional>
#include <string_view>

namespace MERO::Core {

/// Copies the value of `key`, of a section or of the lines before the first one, to a C caller's buffer, cut to
/// what fits. 0, or negative with the error register set and `value` untouched.
int ReadIniValue(const char* path, std::optional<std::string_view> section, const char* key, char* value, int cbValue);

} // namespace MERO::Core
