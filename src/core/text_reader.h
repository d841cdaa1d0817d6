#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace MERO::Systemd {

/// Reads whole files with few calls into a buffer that is kept. Made for /proc, whose files tell no size.
class TextReader {
public:
    /// The text of the file `path`, relative to the open folder `directory` (AT_FDCWD: the working directory); it is
    /// good until the next call. None, with errno, when the file cannot be opened or read to its end.
    std::optional<std::string_view> Read(int directory, const char* path);

private:
    void Grow(std::size_t filled);

    std::size_t capacity_ = 64 * 1024;
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(capacity_);
};

} // namespace MERO::Systemd
