#include "running/run_command.h"

#include "support/child.h"
#include "support/machine.h"

#include <csignal>
#include <tuple>

using namespace MERO::Tool;
using namespace MERO::Test;

namespace {

class Commands : public Machine {};

TEST_F(Commands, AreSoughtWhereTheyWouldBeStarted)
{
    WriteProgram("/run/here/there", "");
    WriteProgram("/run/bin/tool", "");
    Write("/run/bin/text", "");
    std::filesystem::create_directories("/run/bin/folder");
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"/nowhere:/run/bin", "tool", true},
        {"/nowhere", "tool", false},
        {"/run/bin", "text", false},
        {"/run/bin", "folder", false},
        {"/run/bin", "", false},
        {"/run", "bin/tool", false}, // with a "/" it is not sought
        {"/run/here", "../bin/tool", true},
        {"/run/bin", "there", false},
        {":/run/bin", "there", true}, // an empty folder is the current one
        {"/run/bin::/nowhere", "there", true},
        {"/run/bin:", "there", true},
        {"", "there", true},
    };
    for (const auto& [path, program, isFound] : cases) {
        EXPECT_EQ(RunAs(0,
                        [path = path, program = program] {
                            std::filesystem::current_path("/run/here");
                            setenv("PATH", path, 1);
                            return (IsRunnable({program}) ? 1 : 0) + (RunCommand({program}) == 0 ? 1 : 0);
                        }),
                  isFound ? 2 : 0)
            << "'" << program << "' in '" << path << "'";
    }
}

TEST_F(Commands, GetTheSignalsOfTheProgram)
{
    const auto run = [](int signal, const std::string& script) {
        return RunAs(0, [&] {
            const SignalsToCommand signals;
            raise(signal);
            return RunCommand({"sh", "-c", script});
        });
    };
    EXPECT_EQ(run(0, "trap 'exit 9' TERM; kill -TERM $PPID; sleep 9 & wait"), 9);
    EXPECT_EQ(run(0, "kill -KILL $$"), 137);
    EXPECT_EQ(run(SIGHUP, "> /run/started"), 129) << "it came before the command";
    EXPECT_FALSE(std::filesystem::exists("/run/started"));
}

} // namespace
