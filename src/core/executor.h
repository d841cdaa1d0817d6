#pragma once

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace MERO::Systemd {

/// Runs a program other than systemctl and keeps its standard output. May be used again.
class Executor {
public:
    /// Runs the program `path`, without a shell, and waits for it. Returns whether it ran and was not ended by a
    /// signal, and its exit code (0 to 255). Logs failures; an exit code other than 0 is not one.
    std::pair<bool, int> Execute(const std::string& path, const std::vector<std::string>& args);

    /// Reads the output from the stream. Returns false for a null stream.
    bool ReadOutput(FILE* stream);

    /// The standard output of the last run.
    const std::string& GetOutput() const { return output_; }

    /// Path and arguments, separated by blanks. For messages only: an argument may itself hold blanks.
    std::string GetCommandLine() const;

private:
    std::vector<std::string> arguments_;
    std::string path_;
    std::string output_;
};

} // namespace MERO::Systemd
