#pragma once

#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <utility>

/// Owners of C resources. The library and the sandbox use this header too; it is not installed.
namespace MERO {

/// Owns a file descriptor; -1 means none.
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
            close(Release()); // not repeated on EINTR: Linux has already freed the descriptor
        }
    }

private:
    int fd_ = -1;
};

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

/// Owns memory from malloc(), such as strdup()'s.
template <typename T>
using CMemory = std::unique_ptr<T, FreeMemory>;

} // namespace MERO
