#include "core/text_reader.h"

#include "core/descriptor.h"

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

std::optional<std::string_view> TextReader::Read(int directory, const char* path)
{
    const Descriptor file(openat(directory, path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file) {
        return std::nullopt;
    }
    std::size_t size = 0;
    for (;;) {
        if (size == capacity_) {
            Grow(size);
        }
        const ssize_t count = read(file.Get(), buffer_.get() + size, capacity_ - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 ? std::optional(std::string_view(buffer_.get(), size)) : std::nullopt;
        }
        size += static_cast<std::size_t>(count);
    }
}

} // namespace MERO::Systemd
