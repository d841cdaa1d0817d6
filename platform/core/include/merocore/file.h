/** @file
   Files: existence, locks, and two small text formats.

   A key-value file holds one key=value a line. A section file groups such lines under [section] headers. Of both:
   blanks around key and value do not count, nor does a carriage return at a line's end; empty lines, and lines
   that begin with "#" or ";", are comments; the last line may lack its newline. A key-value file's lines are
   those before its first header. Sections of the same name are one section, and the last of several values of a
   key counts, as in systemd's unit files. Files of more than 16 MiB are refused.

   The writers replace the file whole (temporary file, fsync, rename), so that a reader sees the old or the new
   text and nothing else. Owner, group and mode stay; a file that is made anew has mode 0644 less the umask. A symbolic
   link is replaced by a file. A failure leaves the old text, unless only the folder could not be synced. Two writers of
   one file at once must be kept apart by a lock of the callers. They refuse what would not be read back as it was
   written (an empty key, a "=" in a key, a newline, blanks at either end) before anything is changed. */
#pragma once

#include <merocore/hash.h>

#ifdef __cplusplus
extern "C" {
#endif

/** 1 when `path` exists, 0 when it does not. A dangling symbolic link does not exist. */
int MLIBCFileExist(const char* path);

/** Creates the file if it is missing, and sets its times to now. 0 or negative. Errors: MLIBC_ERR_OPEN_FILE. */
int MLIBCFileTouch(const char* path);

/** 0 when `path` is a directory, negative otherwise. Errors: MLIBC_ERR_OPEN_DIRECTORY. */
int MLIBCFileCheckDir(const char* path);

/** Locks the file `path`, which is created (mode 0600) if it is missing: for this caller alone when `exclusive` is
   not 0, together with other shared holders otherwise. Waits up to `timeoutSeconds` seconds; 0 means one attempt.
   A lock that becomes free is taken within 20 ms, one held for 0.1 s within 5. On success stores the descriptor in
   `*fd`: the lock (flock) belongs to its open file description and goes when the last copy of the descriptor is closed,
   inherited ones included. Returns 0, or negative with `*fd` untouched. Errors: MLIBC_ERR_LOCK_BUSY,
   MLIBC_ERR_OPEN_FILE, MLIBC_ERR_INVALID_ARGUMENT (a negative time among them). */
int MLIBCFileLockTimeByFile(const char* path, int exclusive, int timeoutSeconds, int* fd);

/** Closes `fd`, and with its last copy gives the lock back. 0 or negative. */
int MLIBCFileUnlockByFile(int fd);

/** Copies the value of `key` in a key-value file to `value`, cut to cbValue - 1 bytes and a NUL. `flags`: 0.
   Returns 0, or negative with `value` untouched. Errors: MLIBC_ERR_OPEN_FILE, MLIBC_ERR_READ_FILE,
   MLIBC_ERR_NOT_FOUND (no such key), MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCFileGetKeyValue(const char* path, const char* key, char* value, int cbValue, int flags);

/** Sets `key` to `value` in a key-value file, which is created if it is missing; all other lines stay. `flags`: 0.
   Returns 0, or negative with the file untouched. Errors: MLIBC_ERR_OPEN_FILE (it is there and cannot be opened),
   MLIBC_ERR_READ_FILE, MLIBC_ERR_WRITE_FILE, MLIBC_ERR_INVALID_ARGUMENT. */
int MLIBCFileSetKeyValue(const char* path, const char* key, const char* value, int flags);

/** MLIBCFileGetKeyValue for a key of a section. */
int MLIBCFileGetSectionValue(const char* path, const char* section, const char* key, char* value, int cbValue);

/** Writes `section` with the hash's pairs, in the order of their keys, into a section file, which is created if it
   is missing. A section of this name that is already there is replaced whole. `flags`: 0.
   Returns 0, or negative with the file untouched. Errors: as MLIBCFileSetKeyValue. */
int MLIBCFileAddSection(const char* path, const char* section, const MLIBCSzHash* values, int flags);

#ifdef __cplusplus
}
#endif
