#include "read_value.h"

#include "fail.h"
#include "ini_file.h"
#include "whole_file.h"

#include <algorithm>
#include <cstring>
#include <string>

namespace MERO::Core {

int ReadIniValue(const char* path, std::optional<std::string_view> section, const char* key, char* value, int cbValue)
{
    if (path == nullptr || key == nullptr || value == nullptr || cbValue <= 0) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return WithoutExceptions([&] {
        std::string text;
        if (ReadWholeFile(path, text) != 0) {
            return -1;
        }
        const auto found = FindIniValue(text, section, key);
        if (!found) {
            return MERO_FAIL(MLIBC_ERR_NOT_FOUND);
        }
        const std::size_t kept = std::min(found->size(), static_cast<std::size_t>(cbValue) - 1);
        std::memcpy(value, found->data(), kept);
        value[kept] = '\0';
        return 0;
    });
}

} // namespace MERO::Core
