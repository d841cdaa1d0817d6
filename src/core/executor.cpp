#include "core/executor.h"

#include "core/log.h"
#include "core/program_stream.h"
#include "core/text_reader.h"

namespace MERO::Systemd {

std::pair<bool, int> Executor::Execute(const std::string& path, const std::vector<std::string>& args)
{
    if (path.empty()) {
        MERO_LOG(LOG_ERR, "Bad executable path");
        return {false, 0};
    }
    path_ = path;
    arguments_ = args;

    std::vector<char*> argv{path_.data()};
    for (std::string& argument : arguments_) {
        argv.push_back(argument.data());
    }
    argv.push_back(nullptr);

    ProgramStream program(path_.c_str(), "r", argv.data());
    if (!program) {
        MERO_LOG(LOG_ERR, "Fail to execute [%s]", GetCommandLine().c_str());
        return {false, 0};
    }
    if (!ReadOutput(program.Get())) {
        MERO_LOG(LOG_ERR, "Failed to read error output");
    }
    const int status = program.Close();
    const int exitCode = (status >> 8) & 0xFF;
    if ((status & 0x7F) != 0) { // ended by a signal, or its status (-1) is lost
        MERO_LOG(LOG_ERR, "Execution is not completed, status: [%d], command: [%s]", status, GetCommandLine().c_str());
        return {false, exitCode};
    }
    return {true, exitCode};
}

bool Executor::ReadOutput(FILE* stream)
{
    if (stream == nullptr) {
        MERO_LOG(LOG_ERR, "Bad file descriptor");
        return false;
    }
    std::string output;
    (void)TextReader().ReadLines(stream, [&](std::string_view lines) { // what was read before an error is kept
        output += lines;
        return true;
    });
    output_ = std::move(output);
    return true;
}

std::string Executor::GetCommandLine() const
{
    std::string line = path_;
    for (const std::string& argument : arguments_) {
        line.append(" ").append(argument);
    }
    return line;
}

} // namespace MERO::Systemd
