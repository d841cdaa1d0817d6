#pragma once

#include <unistd.h>
#include <utility>

namespace MERO::Sandbox {

/// Owns a file descriptor and closes it.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int owned) : fd(owned) {}
    Descriptor(Descriptor&& other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        Descriptor previous(std::exchange(fd, std::exchange(other.fd, -1)));
        return *this;
    }
    ~Descriptor() { Close(); }

    explicit operator bool() const { return fd >= 0; }
    int Get() const { return fd; }
    void Close()
    {
        if (fd >= 0)
            close(std::exchange(fd, -1));
    }

private:
    int fd = -1;
};

} // namespace MERO::Sandbox
