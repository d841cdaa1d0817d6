#pragma once

#include <optional>
#include <string_view>

namespace MERO::Core {

/// Copies the value of `key` into a C caller's buffer, cut to fit; `section` as in FindIniValue. Returns 0, or a
/// negative number with the error register set and `value` untouched.
int ReadIniValue(const char* path, std::optional<std::string_view> section, const char* key, char* value, int cbValue);

} // namespace MERO::Core
