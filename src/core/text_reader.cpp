#include "core/text_reader.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace MERO::Systemd {

void TextReader::Grow(std::size_t filled)
{
    auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity_);
    std::memcpy(larger.get(), buffer_.get(), filled);
    buffer_ = std::move(larger);
    capacity_ *= 2;
}

Descriptor TextReader::Open(int directory, const char* path)
{
    return Descriptor(openat(directory, path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
}

/// Reads behind what is filled; makes room before.
ssize_t TextReader::ReadSome(int file, std::size_t filled)
{
    if (filled == capacity_) {
        Grow(filled);
    }
    for (;;) {
        const ssize_t count = read(file, buffer_.get() + filled, capacity_ - filled);
        if (count >= 0 || errno != EINTR) {
            return count;
        }
    }
}

std::optional<std::string_view> TextReader::Read(int directory, const char* path)
{
    const Descriptor file = Open(directory, path);
    if (!file) {
        return std::nullopt;
    }
    std::size_t size = 0;
    for (;;) {
        const ssize_t count = ReadSome(file.Get(), size);
        if (count <= 0) {
            return count == 0 ? std::optional(std::string_view(buffer_.get(), size)) : std::nullopt;
        }
        size += static_cast<std::size_t>(count);
    }
}

} // namespace MERO::Systemd
