#pragma once

#include <dirent.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace MERO::Systemd {

/// Reads folders in large pieces, and keeps the buffer from one to the next.
class DirectoryNames {
public:
    /// Calls `take` with each name in the open folder except "." and "..", in the folder's order, until it returns
    /// false. The names end with a NUL. Returns 0, or the errno if reading fails.
    template <typename Take>
    int ForEach(int directory, Take&& take)
    {
        ssize_t count;
        while ((count = getdents64(directory, buffer_.data(), buffer_.size())) > 0) {
            for (ssize_t offset = 0; offset < count;) {
                const auto* entry = reinterpret_cast<const dirent64*>(buffer_.data() + offset);
                const std::string_view name = entry->d_name;
                if (name != "." && name != ".." && !take(name)) {
                    return 0;
                }
                offset += entry->d_reclen;
            }
        }
        return count < 0 ? errno : 0;
    }

private:
    std::vector<char> buffer_ = std::vector<char>(32 * 1024);
};

/// Appends the names in a folder except "." and "..", in the folder's order, and returns 0. A missing folder counts as
/// empty. If the folder cannot be opened or read, returns the errno, with the error register at 0x0900.
int DirectoryEntries(const std::string& directory, std::vector<std::string>& names);

} // namespace MERO::Systemd
