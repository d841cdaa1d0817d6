/** @file
   The error register: the code of the last error in this thread, and the place that set it. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Codes that this library and the libraries above it set. */
enum {
    MLIBC_ERR_BUFFER_TOO_SMALL = 0x0100,
    MLIBC_ERR_NO_MEMORY = 0x0200,
    MLIBC_ERR_NOT_FOUND = 0x0700, /**< no such file, section or key */
    MLIBC_ERR_OPEN_DIRECTORY = 0x0900,
    MLIBC_ERR_OPEN_FILE = 0x0A00,
    MLIBC_ERR_READ_FILE = 0x0B00,
    MLIBC_ERR_WRITE_FILE = 0x0C00,
    MLIBC_ERR_INVALID_ARGUMENT = 0x0D00,
    MLIBC_ERR_START_PROGRAM = 0x0E00,  /**< the program could not be started; errno says why */
    MLIBC_ERR_PROGRAM_FAILED = 0x0F00, /**< the program ran, but did not exit with 0 */
    MLIBC_ERR_FORK = 0x1000,
    MLIBC_ERR_LOCK_BUSY = 0x1100,
    MLIBC_ERR_UNLINK = 0x3900
};

/** Sets this thread's register. `file` is a path, such as __FILE__; its name is kept without folder and extension, cut
   to 63 bytes. */
void MLIBCErrSetEx(int code, const char* file, int line);

/** @{ */
/** Return what was set last in this thread; 0, "" and 0 before the first error. Success does not clear it. The text
   belongs to the register, and changes with the thread's next error. */
int MLIBCErrGet(void);
const char* MLIBCErrorGetFile(void);
int MLIBCErrorGetLine(void);
/** @} */

#ifdef __cplusplus
}
#endif
