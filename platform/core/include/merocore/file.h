/** @file
   Files: existence, locks, and two small text formats.

   A key-value file has a line key=value for each key. A section file groups such lines under [section] headers. In
   both, blanks around keys and values do not count, nor does a carriage return at the end of a line. Empty lines, and
   lines that begin with "#" or ";", are comments. The last line may lack its newline. The lines of a key-value file end
   at its first header. Sections of the same name are one section, and the last of several values of a key counts, as in
   systemd's unit files. Files of more than 16 MiB are refused.

   The writers replace the file whole (temporary file, fsync, rename): a reader sees either the old or the new text.
   Owner, group and mode stay; a new file has mode 0644 less the umask. A symbolic link is replaced by a file. After a
   failure the file has its old text, unless the folder could not be synced. Two writers of one file need a lock of
   their own. The writers refuse what would not be read back as written (an empty key, a "=" in a key, a newline, blanks
   at either end) before they change anything.

   All functions may be called from any thread. MLIBC_ERR_INVALID_ARGUMENT also means a null pointer. The readers and
   writers of values fail with MLIBC_ERR_NO_MEMORY too. */
#pragma once

#include <merocore/hash.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Returns 1 if `path` exists, otherwise 0. A dangling symbolic link does not exist. Leaves the register as it was. */
int MLIBCFileExist(const char* path);

/** Creates the file if it is missing, and sets its times to now. Returns 0, or a negative value.
   Errors: MLIBC_ERR_OPEN_FILE, MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCFileTouch(const char* path);

/** Returns 0 if `path` is a folder, otherwise a negative value. Errors: MLIBC_ERR_OPEN_DIRECTORY, for NULL too. */
int MLIBCFileCheckDir(const char* path);

/** Locks the file `path` (flock), which is created with mode 0600 if it is missing: for this caller alone if
   `exclusive` is not 0, otherwise together with other shared holders. Waits up to `timeoutSeconds` seconds; 0 means one
   attempt. A lock that becomes free is taken within 20 ms, one that was held for 0.1 s within 5 ms. On success `*fd` is
   the descriptor, the caller's to close. The lock is released when the last copy of the descriptor is closed, inherited
   copies included. Returns 0, or a negative value with `*fd` untouched. Errors: MLIBC_ERR_LOCK_BUSY,
   MLIBC_ERR_OPEN_FILE, MLIBC_ERR_INVALID_ARGUMENT (also for a negative time). */
int MLIBCFileLockTimeByFile(const char* path, int exclusive, int timeoutSeconds, int* fd);

/** Closes `fd`; the lock is released with its last copy. Returns 0, or a negative value.
   Errors: MLIBC_ERR_INVALID_ARGUMENT (no open descriptor). */
int MLIBCFileUnlockByFile(int fd);

/** Copies the value of `key` in a key-value file to `value`, cut to cbValue - 1 bytes and a NUL. `flags` is 0.
   Returns 0, or a negative value with `value` untouched. Errors: MLIBC_ERR_OPEN_FILE, MLIBC_ERR_READ_FILE,
   MLIBC_ERR_NOT_FOUND (no such key), MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCFileGetKeyValue(const char* path, const char* key, char* value, int cbValue, int flags);

/** Sets `key` to `value` in a key-value file, which is created if it is missing. All other lines stay. `flags` is 0.
   Returns 0, or a negative value with the file untouched. Errors: MLIBC_ERR_OPEN_FILE (it exists and cannot be opened),
   MLIBC_ERR_READ_FILE, MLIBC_ERR_WRITE_FILE, MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCFileSetKeyValue(const char* path, const char* key, const char* value, int flags);

/** MLIBCFileGetKeyValue() for a key of a section. MLIBC_ERR_NOT_FOUND also means that there is no such section. */
int MLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* value, int cbValue);

/** Writes `section` with the pairs of `values`, sorted by key, into a section file, which is created if it is missing.
   Replaces an existing section of that name. `flags` is 0.
   Returns 0, or a negative value with the file untouched. Errors: as for MLIBCFileSetKeyValue(). */
int MLIBCFileAddSection(const char* path, const char* section, const MLIBCSzHash* values, int flags);

#ifdef __cplusplus
}
#endif
