#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace MERO::Test {

namespace fs = std::filesystem;

/// One answer of the systemctl stand-in.
struct Answer {
    std::string arguments;   ///< a shell pattern for all arguments, separated by single blanks, such as "list-jobs *"
    std::string output = ""; ///< printed on standard output
    int exitCode = 0;
    std::string errors = ""; ///< printed on standard error, before the output
};

/// A test's private machine: its own root (see EnterMachine), in which /run, /usr/mero, /var/packages and the unit
/// folders are empty when a test starts. /usr/bin/systemctl is a stand-in that exits with 0 unless the test scripts it,
/// and the test reads syslog.
class Machine : public ::testing::Test {
public:
    Machine();

    /// Scripts the stand-in: it gives the first answer whose pattern matches.
    void Systemctl(const std::vector<Answer>& answers);
    /// Replaces /usr/bin/systemctl with this shell script, or removes it.
    void SystemctlScript(const std::string& body);
    void RemoveSystemctl() { fs::remove("/usr/bin/systemctl"); }

    /// The stand-in's calls since the last Calls(), each as its arguments separated by single blanks.
    std::vector<std::string> Calls();

    /// The log lines since the last Log(), as "ERR systemd_start: message": the priority, the source file, and the text
    /// after "merosystemd: ". A line of another form is kept whole after its priority.
    std::vector<std::string> Log();

    /// The lines of one source file, as "ERR message"; a refused argument appears as its condition.
    std::vector<std::string> Said(const std::string& file);

    static void Write(const fs::path& path, const std::string& text);
    static void WriteProgram(const fs::path& path, const std::string& script);
    static std::string Read(const fs::path& path);
};

/// Moves this process, which must be root and have no threads yet, into the machine with a known environment. The
/// tests' main() calls it.
void EnterMachine();

} // namespace MERO::Test
