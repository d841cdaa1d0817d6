#pragma once

#include <dirent.h>

#include <cerrno>
#include <cstddef>
#include <string_view>
#include <vector>

namespace MERO::Systemd {

/// Reads folders in large pieces, with one buffer for all of them.
class DirectoryNames {
public:
    /// Hands the names in the open folder to `take`, "." and ".." left out, in the folder's order, until it returns
    /// false. The texts end with a NUL. An error ends the reading, as the folder's end does.
    template <typename Take>
    void ForEach(int directory, Take&& take)
    {
        ssize_t count;
        while ((count = getdents64(directory, buffer_.data(), buffer_.size())) > 0) {
            for (ssize_t offset = 0; offset < count;) {
                const auto* entry = reinterpret_cast<const dirent64*>(buffer_.data() + offset);
                const std::string_view name = entry->d_name;
                if (name != "." && name != ".." && !take(name)) {
                    return;
                }
                offset += entry->d_reclen;
            }
        }
    }

private:
    std::vector<char> buffer_ = std::vector<char>(32 * 1024);
};

} // namespace MERO::Systemd
