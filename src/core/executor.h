#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Systemd {

/// Runs one program other than systemctl and keeps what it printed on its standard output. May be used again.
class Executor {
public:
    /// Runs the program `path`, without a shell, and waits for it. Returns whether it was started and ended by itself,
    /// not by a signal, and its exit code (0 to 255). Failures are logged; an exit code other than 0 is none.
    std::pair<bool, int> Execute(const std::string& path, const std::vector<std::string>& args);

    /// Makes all that the stream holds the output. False for a null stream.
    bool ReadOutput(FILE* stream);

    /// What the last run printed.
    const std::string& GetOutput() const { return output_; }

    /// Path and arguments with one blank between, for messages: where an argument begins cannot be told.
    std::string GetCommandLine() const;

private:
    std::vector<std::string> arguments_;
    std::string path_;
    std::string output_;
};

} // namespace MERO::Systemd
