#pragma once

#include <merocore/process.h>

#include <string>
#include <utility>
#include <vector>

namespace MERO::Systemd {

/// A running program whose output is read: closed and reaped on every way out.
class ProgramStream {
public:
    /// Modes as MLIBCPopenvc. The program has the host's environment, but for what would change what systemctl and ps
    /// print. False when it could not be started.
    ProgramStream(const char* path, const char* mode, char* const argv[]);
    ProgramStream(const ProgramStream&) = delete;
    ProgramStream& operator=(const ProgramStream&) = delete;
    ~ProgramStream()
    {
        if (stream_ != nullptr) {
            (void)Close();
        }
    }

    explicit operator bool() const { return stream_ != nullptr; }
    FILE* Get() const { return stream_; }

    /// Appends all lines to the end of the output, each with its newline. False when they could not all be read.
    bool ReadLines(std::vector<std::string>& lines);

    /// Waits for the program. Its wait status, -1 when that is lost.
    int Close() { return MLIBCPclose(std::exchange(stream_, nullptr)); }

private:
    FILE* stream_;
};

} // namespace MERO::Systemd
