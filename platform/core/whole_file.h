#pragma once

#include <string>
#include <string_view>

namespace MERO::Core {

enum class IfMissing { Fail, TakeAsEmpty };

/// Reads a regular file of at most 16 MiB into `text`. Returns 0, or a negative number with errno and the error
/// register (MLIBC_ERR_OPEN_FILE, MLIBC_ERR_READ_FILE).
int ReadWholeFile(const char* path, std::string& text, IfMissing ifMissing = IfMissing::Fail);

/// Replaces the file's text, at most 16 MiB, atomically: temporary file in the same folder, fsync, rename, fsync of the
/// folder. Keeps an existing file's owner and mode; a new one gets 0644 less the umask. Returns 0, or a negative number
/// (MLIBC_ERR_WRITE_FILE). On failure the old file is still in place, unless only the folder's fsync failed.
int WriteWholeFile(const std::string& path, std::string_view text);

} // namespace MERO::Core
