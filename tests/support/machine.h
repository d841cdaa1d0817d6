#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace MERO::Test {

namespace fs = std::filesystem;

/// One answer of the stand-in for systemctl.
struct Answer {
    std::string arguments;   ///< a shell pattern over all arguments with one blank between, such as "list-jobs *"
    std::string output = ""; ///< what it prints, on its standard output
    int exitCode = 0;
    std::string errors = ""; ///< what it prints on its error output, before the other
};

/// The machine that a test has to itself: a root of its own (see EnterMachine), in which /run, /usr/mero,
/// /var/packages and the unit directories are empty at the start of each test, /usr/bin/systemctl is a stand-in that
/// ends with 0 unless the test scripts it, and syslog is read by the test.
class Machine : public ::testing::Test {
public:
    Machine();

    /// Scripts the stand-in: the first answer whose pattern matches is given.
    void Systemctl(const std::vector<Answer>& answers);
    /// Makes /usr/bin/systemctl this shell script, or takes it away.
    void SystemctlScript(const std::string& body);
    void RemoveSystemctl() { fs::remove("/usr/bin/systemctl"); }

    /// The stand-in's calls since the last question, each its arguments with one blank between.
    std::vector<std::string> Calls();

    /// The log lines since the last question, as "ERR systemd_start: message": the priority, the source file, and the
    /// message behind "merosystemd: ". A line of another form is left whole behind its priority.
    std::vector<std::string> Log();

    /// Those of one source file, as "ERR message"; a refused argument as its condition.
    std::vector<std::string> Said(const std::string& file);

    static void Write(const fs::path& path, const std::string& text);
    static void WriteProgram(const fs::path& path, const std::string& script);
    static std::string Read(const fs::path& path);
};

/// Gives this process, which must be root and have no threads yet, the machine and a known environment. Called by the
/// tests' main.
void EnterMachine();

} // namespace MERO::Test
