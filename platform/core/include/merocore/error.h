/** @file
   The error register: why the last failing call of this thread failed. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Codes that this library and the libraries above it set. */
enum {
    MLIBC_ERR_BUFFER_TOO_SMALL = 0x0100,
    MLIBC_ERR_NO_MEMORY = 0x0200,
    MLIBC_ERR_NOT_FOUND = 0x0700, /**< file, section or key */
    MLIBC_ERR_OPEN_DIRECTORY = 0x0900,
    MLIBC_ERR_OPEN_FILE = 0x0A00,
    MLIBC_ERR_READ_FILE = 0x0B00,
    MLIBC_ERR_WRITE_FILE = 0x0C00,
    MLIBC_ERR_INVALID_ARGUMENT = 0x0D00,
    MLIBC_ERR_START_PROGRAM = 0x0E00,  /**< the program could not be started; errno says why */
    MLIBC_ERR_PROGRAM_FAILED = 0x0F00, /**< it ran, and ended with another status than 0 */
    MLIBC_ERR_FORK = 0x1000,
    MLIBC_ERR_LOCK_BUSY = 0x1100,
    MLIBC_ERR_UNLINK = 0x3900
};

/** Sets this thread's register. Of `file` (a path, such as __FILE__) the name without folder and extension is kept,
   cut to 63 bytes. */
void MLIBCErrSetEx(int code, const char* file, int line);

/** @{ */
/** What was set last in this thread: 0, "" and 0 before the first error. Success does not clear it. */
int MLIBCErrGet(void);
const char* MLIBCErrorGetFile(void);
int MLIBCErrorGetLine(void);
/** @} */

#ifdef __cplusplus
}
#endif
