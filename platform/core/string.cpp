#include "fail.h"

#include <merocore/string.h>

#include <cstdarg>
#include <cstdio>

int MLIBCStrSnprintf(char* buffer, size_t cb, const char* format, ...)
{
    if (buffer == nullptr || cb == 0 || format == nullptr) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    va_list values;
    va_start(values, format);
    const int length = std::vsnprintf(buffer, cb, format, values);
    va_end(values);
    if (length < 0) {
        return MERO_FAIL(MLIBC_ERR_INVALID_ARGUMENT);
    }
    return static_cast<size_t>(length) < cb ? 0 : MERO_FAIL(MLIBC_ERR_BUFFER_TOO_SMALL);
}
