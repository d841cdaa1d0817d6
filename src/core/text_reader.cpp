#include "core/text_reader.h"

#include "core/descriptor.h"

#include <fcntl.h>

#include <cerrno>

namespace MERO::Systemd {

std::optional<std::string_view> TextReader::Read(int directory, const char* path)
{
    const Descriptor file(openat(directory, path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!file) {
        return std::nullopt;
    }
    std::size_t size = 0;
    for (;;) {
        if (size == buffer_.size()) {
            buffer_.resize(2 * size);
        }
        const ssize_t count = read(file.Get(), buffer_.data() + size, buffer_.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 ? std::optional(std::string_view(buffer_.data(), size)) : std::nullopt;
        }
        size += static_cast<std::size_t>(count);
    }
}

} // namespace MERO::Systemd
