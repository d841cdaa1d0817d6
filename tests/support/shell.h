#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

namespace MERO::Test {

/// What a shell command did.
struct ShellResult {
    int exitCode;
    std::string output; ///< both outputs, in the order of arrival
};

inline ShellResult Shell(const std::string& command)
{
    FILE* stream = popen(("exec 2>&1; " + command).c_str(), "re");
    if (stream == nullptr) {
        throw std::runtime_error("no shell");
    }
    std::string output;
    std::array<char, 4096> buffer;
    std::size_t count;
    while ((count = fread(buffer.data(), 1, buffer.size(), stream)) > 0) {
        output.append(buffer.data(), count);
    }
    const int status = pclose(stream);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output};
}

} // namespace MERO::Test
