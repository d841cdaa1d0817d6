#include "support/environment.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace MERO::Test {

void MakeEnvironmentKnown()
{
    std::vector<std::string> callers;
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        callers.emplace_back(*variable, std::strcspn(*variable, "="));
    }
    for (const std::string& name : callers) {
        if (!name.starts_with("MERO_") && !name.starts_with("GTEST_") && !name.starts_with("GCOV_") &&
            !name.ends_with("SAN_OPTIONS")) {
            unsetenv(name.c_str());
        }
    }
    setenv("PATH", "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin", 1);
    setenv("HOME", "/root", 1);
    setenv("LANG", "C.UTF-8", 1);
    setenv("TERM", "xterm", 1);
    for (int number = 1; number < NSIG; ++number) {
        std::signal(number, SIG_DFL); // a shell ignores SIGINT for what it starts in the background
    }
}

} // namespace MERO::Test
