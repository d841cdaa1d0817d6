#pragma once

#include <string>
#include <string_view>

namespace MERO::Core {

enum class IfMissing { Fail, TakeAsEmpty };

/// Reads a regular file of at most 16 MiB into `text`. 0, or negative with errno and the error register set
/// (MLIBC_ERR_OPEN_FILE, MLIBC_ERR_READ_FILE).
int ReadWholeFile(const char* path, std::string& text, IfMissing ifMissing = IfMissing::Fail);

/// Replaces the file's text, at most 16 MiB, in one step: temporary file beside it, fsync, rename, fsync of the
/// folder. Keeps owner and mode of a file that is there; a new one gets 0644 less the umask. 0, or negative
/// (MLIBC_ERR_WRITE_FILE) with the old file in place, unless only the folder could not be synced.
int WriteWholeFile(const std::string& path, std::string_view text);

} // namespace MERO::Core
