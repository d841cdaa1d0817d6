#pragma once

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace MERO::Test {

/// Gives this process a fixed environment, whatever its caller's: language, terminal and path, and default signal
/// actions (a shell ignores SIGINT for background programs). Variables of the tests and sanitizers stay.
inline void MakeEnvironmentKnown()
{
    std::vector<std::string> variables{"PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                                       "HOME=/root", "LANG=C.UTF-8", "TERM=xterm"};
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        const std::string text = *variable, name = text.substr(0, text.find('='));
        if (name.starts_with("MERO_") || name.starts_with("GTEST_") || name.starts_with("GCOV_") ||
            name.ends_with("SAN_OPTIONS")) {
            variables.push_back(text);
        }
    }
    clearenv();
    for (const std::string& variable : variables) {
        putenv(strdup(variable.c_str())); // putenv() keeps the text
    }
    for (int number = 1; number < NSIG; ++number) {
        std::signal(number, SIG_DFL);
    }
}

} // namespace MERO::Test
