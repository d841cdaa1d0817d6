#pragma once

#include <sys/wait.h>

#include <cstdio>
#include <stdexcept>
#include <string>

namespace MERO::Test {

struct ShellResult {
    int exitCode;
    std::string output; ///< standard and error output, in order of arrival
};

inline ShellResult Shell(const std::string& command)
{
    FILE* stream = popen(("exec 2>&1; " + command).c_str(), "re");
    if (stream == nullptr) {
        throw std::runtime_error("no shell");
    }
    std::string output;
    for (int c; (c = fgetc(stream)) != EOF;) {
        output += static_cast<char>(c);
    }
    const int status = pclose(stream);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output};
}

} // namespace MERO::Test
