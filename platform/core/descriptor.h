#pragma once

#include <unistd.h>

#include <utility>

namespace MERO::Core {

/// Owns a file descriptor; -1 is none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(other.Release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor() { Close(); }

    int Get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }
    void Close()
    {
        if (fd_ >= 0) {
            close(Release()); // never repeated on EINTR: Linux has freed the descriptor by then
        }
    }

private:
    int fd_ = -1;
};

} // namespace MERO::Core
