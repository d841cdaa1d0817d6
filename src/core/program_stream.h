#pragma once

#include <merocore/process.h>

#include <string>
#include <utility>
#include <vector>

namespace MERO::Systemd {

/// A running program whose output is read. The destructor closes the stream and reaps the program.
class ProgramStream {
public:
    /// Modes as in MLIBCPopenvc. The program gets the host process' environment without the variables that change what
    /// systemctl and ps print. The object is false if the program could not be started.
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

    /// Reads the output to its end and appends its lines, each with its newline. Returns false if reading fails.
    bool ReadLines(std::vector<std::string>& lines);

    /// Waits for the program. Returns its wait status, or -1 if that is lost.
    int Close() { return MLIBCPclose(std::exchange(stream_, nullptr)); }

private:
    FILE* stream_;
};

} // namespace MERO::Systemd
