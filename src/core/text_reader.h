#pragma once

#include "platform/core/owners.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

namespace MERO::Systemd {

/// Reads whole files and streams with few calls into a buffer that is kept. Made for /proc, whose files show no size.
class TextReader {
public:
    /// The text of the file `path`, relative to the open folder `directory` (AT_FDCWD: the working directory); it is
    /// good until the next call. None, with the errno in `error`, when the file cannot be opened or read to its end.
    std::optional<std::string_view> Read(int directory, const char* path, int* error = nullptr);

    /// The same for what is left of an open file.
    std::optional<std::string_view> Read(const Descriptor& file);

    /// Hands the file's lines to `take`, as many whole ones at a time as the kernel gives, until it returns false.
    /// False when the file cannot be opened or read as far as they were wanted.
    template <typename Take>
    bool ReadLines(int directory, const char* path, Take&& take)
    {
        const Descriptor file = Open(directory, path);
        return file && TakeLines([&](std::size_t filled) { return ReadSome(file.Get(), filled); }, take);
    }

    /// The same for what is left of a stream.
    template <typename Take>
    bool ReadLines(FILE* stream, Take&& take)
    {
        return TakeLines([&](std::size_t filled) { return ReadSome(stream, filled); }, take);
    }

private:
    template <typename Read, typename Take>
    bool TakeLines(Read&& read, Take& take)
    {
        std::size_t filled = 0;
        for (;;) {
            const ssize_t count = read(filled);
            if (count < 0) {
                return false;
            }
            filled += static_cast<std::size_t>(count);
            const std::string_view text(buffer_.get(), filled);
            // What follows the last newline is a line of its own at the end only.
            const std::size_t size = count > 0 ? text.rfind('\n') + 1 : filled;
            if ((size > 0 && !take(text.substr(0, size))) || count == 0) {
                return true;
            }
            filled -= size;
            std::memmove(buffer_.get(), buffer_.get() + size, filled);
        }
    }

    static Descriptor Open(int directory, const char* path);
    ssize_t ReadSome(int file, std::size_t filled);
    ssize_t ReadSome(FILE* stream, std::size_t filled);
    void MakeRoom(std::size_t filled);

    std::size_t capacity_ = 64 * 1024;
    std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(capacity_);
};

} // namespace MERO::Systemd
