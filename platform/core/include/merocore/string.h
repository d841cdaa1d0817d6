/** @file
   Bounded formatting. */
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** snprintf for callers that must not go on with a cut text. Returns 0 if the whole text and its NUL fit into `cb`
   bytes, otherwise a negative value, with as much of the text in `buffer` as fits.
   Errors: MLIBC_ERR_BUFFER_TOO_SMALL, MLIBC_ERR_INVALID_ARGUMENT. Any thread. */
int MLIBCStrSnprintf(char* buffer, size_t cb, const char* format, ...) __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif
