#include "support/program.h"
#include "support/terminal.h"

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kXterm = "TERM=xterm LC_ALL=C exec " + std::string(MEROSYSTEMCTL) + " ", kClear = "\r\x1b\\[K";

using OnTerminal = Program;

TEST_F(OnTerminal, ProgressIsALineThatIsWrittenOver)
{
    Otherwise("case $2 in a) sleep 2.2;; *.target) sleep 2.1;; esac");
    Write("/run/jobs", "7 a.service start running\n8 b.service start waiting\n9 c.service restart running\n");
    Terminal wide(kXterm + "start a"), narrow(kXterm + "stop a", 20);
    Terminal dumb("TERM=dumb " + kTool + "run-in a.target -- sh -c 'sleep 1.2; echo done'");
    const std::string begun = " \\([1-9] s\\): a.service start \\(0 s\\), c.service job \\(0 s\\), 1 queued";
    const std::string later = " \\([2-9] s\\): a.service start \\([1-9] s\\), c.service job \\([1-9] s\\), 1 queued";
    const std::string isolating = "isolating to a.target" + begun + "\r\ndone\r\nisolating back to default.target ";
    EXPECT_THAT(wide.Rest(),
                MatchesRegex(kClear + "start a" + begun + "(" + kClear + "start a" + later + ")+" + kClear));
    EXPECT_THAT(narrow.Rest(), MatchesRegex("(" + kClear + "stop a \\([1-9] s\\): a.ser)+" + kClear));
    EXPECT_THAT(dumb.Rest(), MatchesRegex(isolating + "\\([1-9] s\\): a.service [^\n]*\n")) << "a line for each matter";
}

TEST_F(OnTerminal, ItsOwnSignalsReachACommandOnlyByThemselves)
{
    // They do not reach it. It waits until its caller knows it, which would pass on what came before.
    Terminal terminal(kXterm + "run-in a.target -- setsid sh -c 'sleep 0.3; echo up; sleep 0.5; exit 7'");
    (void)terminal.Until("up\r\n");
    terminal.Type("\x03");
    EXPECT_EQ(terminal.Rest(), "^C\r\x1B[K"
                               "merosystemctl: interrupted: isolating back to default.target\r\n"
                               "merosystemctl: setsid: exit code 7\r\n");
    EXPECT_EQ(terminal.HangUp(), 7);
}

TEST_F(OnTerminal, UninstallAsksFirst)
{
    const std::pair<std::string, std::string> cases[] = {
        {"n", "nothing was done"}, {"", "nothing was done"}, {"yes", ""}, {"y", ""}, {"Y", ""}};
    for (const auto& [answer, said] : cases) {
        Terminal terminal(kXterm + "uninstall a b");
        EXPECT_EQ(terminal.Until("[y/N] "), "Stop a b and remove all unit files, links and drop-ins? [y/N] ");
        terminal.Type(answer + "\n");
        EXPECT_EQ(terminal.Rest(), answer + "\r\n" + (said.empty() ? "" : "merosystemctl: " + said + "\r\n"));
        EXPECT_EQ(terminal.HangUp(), said.empty() ? 0 : 1);
        EXPECT_EQ(Calls().empty(), !said.empty()) << answer;
    }
    EXPECT_EQ(Terminal(kXterm + "uninstall --yes a").Rest(), "");
    EXPECT_FALSE(Calls().empty());
    EXPECT_EQ(Tool("uninstall a < /dev/null").exitCode, 2) << "nobody is there to be asked";
    EXPECT_TRUE(Calls().empty());
}

TEST_F(OnTerminal, TopObeysItsKeysAndGivesTheTerminalBackHoweverItEnds)
{
    for (const std::string slice : {"a", "b"}) {
        Write("/sys/fs/cgroup/meromonitor/" + slice + ".slice/tasks", std::to_string(getpid()) + "\n");
    }
    const std::string command = kXterm + "slice top --interval ";
    Terminal top(command + "100");
    EXPECT_THAT(top.Until("q: quit"),
                AllOf(HasSubstr("> a.slice"), HasSubstr("\x1b[32m"), HasSubstr("Processes of a.slice: 1, by CPU")));
    // What changes is written over, behind the sequence that goes there.
    const std::pair<std::string, std::string> keys[] = {
        {"j", "> b.slice"},
        {"jk", "> a.slice"},
        {"\x1bOB", "> b.slice"},
        {"\x1bOA", "> a.slice"},
        {"kj", "> b.slice"},
        {"m", "Hmemory"},
        {"p", "PID"},
        {"n", "name"},
        {"c", "CPU"},
        {"h", "\x1b[J"},
        {"h", "Up/Down j/k"},
    };
    for (const auto& [typed, shown] : keys) {
        top.Type(typed);
        EXPECT_THAT(top.Until(shown), EndsWith(shown)) << typed;
    }
    EXPECT_EQ(top.HangUp(), 128 + SIGHUP);
    const std::tuple<std::string, std::string, int> cases[] = {{"100", "q", 0},
                                                               {"100", "\x04", 0},
                                                               {"100", "\x03", 130},
                                                               {"100 < /dev/null", "", 0},
                                                               {"0.1 --count 2", "", 0}};
    for (const auto& [options, key, exitCode] : cases) {
        Terminal ending(command + options);
        EXPECT_THAT(ending.Until("q: quit"), StartsWith("\x1b[?1049h"));
        ending.Type(key);
        EXPECT_THAT(ending.Rest(), HasSubstr("\x1b[?1049l")) << exitCode;
        EXPECT_EQ(ending.HangUp(), exitCode);
    }
    for (const std::string terminal : {"dumb", "", "unheard"}) {
        EXPECT_THAT(Terminal("TERM=" + terminal + " " + kTool + "slice top --interval 0.1 --count 1").Rest(),
                    MatchesRegex("([0-9:]+  [ab].slice  CPU +[0-9.]+%  memory .*\r\n){2}"))
            << terminal;
    }
}

} // namespace
