#include "core/text_reader.h"

#include "platform/core/system_calls.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace MERO::Systemd {

void TextReader::MakeRoom(std::size_t filled)
{
    if (filled < capacity_) {
        return;
    }
    auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity_);
    std::memcpy(larger.get(), buffer_.get(), filled);
    buffer_ = std::move(larger);
    capacity_ *= 2;
}

Descriptor TextReader::Open(int directory, const char* path)
{
    return Descriptor(openat(directory, path, O_RDONLY | O_CLOEXEC | O_NOCTTY));
}

/// Reads more after the `filled` bytes, and makes room for it first.
ssize_t TextReader::ReadSome(int file, std::size_t filled)
{
    MakeRoom(filled);
    return Uninterrupted([&] { return read(file, buffer_.get() + filled, capacity_ - filled); });
}

ssize_t TextReader::ReadSome(FILE* stream, std::size_t filled)
{
    if (std::ferror(stream) != 0) { // an error cut the last piece short
        return -1;
    }
    MakeRoom(filled);
    const std::size_t count = std::fread(buffer_.get() + filled, 1, capacity_ - filled, stream);
    return count == 0 && std::ferror(stream) != 0 ? -1 : static_cast<ssize_t>(count);
}

std::optional<std::string_view> TextReader::Read(int directory, const char* path, int* error)
{
    const Descriptor file = Open(directory, path);
    const auto text = file ? Read(file) : std::nullopt;
    if (!text && error != nullptr) {
        *error = errno;
    }
    return text;
}

std::optional<std::string_view> TextReader::Read(const Descriptor& file)
{
    for (std::size_t size = 0;;) {
        const ssize_t count = ReadSome(file.Get(), size);
        if (count <= 0) {
            return count == 0 ? std::optional(std::string_view(buffer_.get(), size)) : std::nullopt;
        }
        size += static_cast<std::size_t>(count);
    }
}

} // namespace MERO::Systemd
