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

/// Reads whole files and streams with few calls, into a reused buffer. Made for /proc, whose files show no size.
class TextReader {
public:
    /// Returns the text of the file `path`, relative to the open folder `directory` (AT_FDCWD: the working directory).
    /// It is valid until the next call. Returns nothing, with the errno in `error`, if opening or reading fails.
    std::optional<std::string_view> Read(int directory, const char* path, int* error = nullptr);

    /// The same for the rest of an open file.
    std::optional<std::string_view> Read(const Descriptor& file);

    /// Calls `take` with the file's lines, as many whole lines at a time as one read gives, until it returns false.
    /// Returns false if the file cannot be opened, or reading fails before `take` has ended it.
    template <typename Take>
    bool ReadLines(int directory, const char* path, Take&& take)
    {
        const Descriptor file = Open(directory, path);
        return file && TakeLines([&](std::size_t filled) { return ReadSome(file.Get(), filled); }, take);
    }

    /// The same for the rest of a stream.
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
            // A text without a newline is a line only at the end.
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
