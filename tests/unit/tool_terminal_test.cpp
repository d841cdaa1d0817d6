#include "support/program.h"
#include "support/terminal.h"
#include "support/waiting.h"

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kXterm = "TERM=xterm LC_ALL=C exec " + std::string(MEROSYSTEMCTL) + " ", kClear = "\r\x1b\\[K";

using OnTerminal = Program;

TEST_F(OnTerminal, ProgressIsOneLineThatIsOverwritten)
{
    Otherwise("case $2 in a) sleep 2.2;; *.target) sleep 2.1;; esac");
    Write("/run/jobs", "7 a.service start running\n8 z.service start waiting\n9 c.service restart running\n"
                       "10 d.service stop running\n11 e.service start running\n");
    Terminal wide(kXterm + "start a", 120), narrow(kXterm + "stop a", 20);
    Terminal dumb("TERM=dumb " + kTool + "run-in a.target -- sh -c 'sleep 1.2; echo done'", 120);
    const auto jobs = [](const std::string& since, const std::string& seconds) {
        const std::string s = " \\([" + seconds + "] s\\)";
        return " \\([" + since + "-9] s\\): a.service start" + s + ", c.service job" + s + ", d.service stop" + s +
               ", 1 more, 1 queued";
    };
    const std::string begun = jobs("1", "0"), later = jobs("2", "1-9");
    const std::string isolating = "isolating to a.target" + begun + "\r\ndone\r\nisolating back to default.target ";
    EXPECT_THAT(wide.Rest(),
                MatchesRegex(kClear + "start a" + begun + "(" + kClear + "start a" + later + ")+" + kClear));
    EXPECT_THAT(narrow.Rest(), MatchesRegex("(" + kClear + "stop a \\([1-9] s\\): a.ser)+" + kClear));
    EXPECT_THAT(dumb.Rest(), MatchesRegex(isolating + "\\([1-9] s\\): a.service [^\n]*\n")) << "a line for each matter";
}

TEST_F(OnTerminal, ProgressOfAnUnmountNamesTheCurrentStep)
{
    Write("/usr/lib/systemd/system/all.service", "[X-Tarvix]\nVolumeDependency=all\n");
    SystemctlScript(
        "case $1 in list-unit-files) sleep 1.2; echo all.service enabled enabled;; start) mkdir /run/once && sleep "
        "2.2;; "
        "show) printf 'Id=all.service\\nNames=all.service\\nLoadState=loaded\\nActiveState=active\\n';; esac");
    const std::string screen = Terminal(kXterm + "volume unmount /v -- true", 60).Rest();
    const std::size_t planning = screen.find("\x1b[Kplanning to unmount /v ("),
                      stopping = screen.find("\x1b[Kstopping what uses /v (");
    EXPECT_LT(planning, screen.find("stopping: all.service\r\n")) << screen;
    EXPECT_LT(screen.find("stopping: all.service\r\n"), stopping) << screen;
    EXPECT_NE(stopping, screen.npos) << screen;
}

TEST_F(OnTerminal, ItsSignalsAreNotPassedOnToACommand)
{
    // They do not reach this command, which has its own session. It first waits until its caller knows it: earlier
    // signals would be passed on.
    Terminal terminal(kXterm + "run-in a.target -- setsid sh -c 'sleep 0.3; echo up; sleep 0.5; exit 7'");
    (void)terminal.Until("up\r\n");
    terminal.Type("\x03");
    EXPECT_EQ(terminal.Rest(), "^C\r\x1B[K"
                               "merosystemctl: interrupted: isolating back to default.target\r\n"
                               "merosystemctl: setsid: exit code 7\r\n");
    EXPECT_EQ(terminal.HangUp(), 7);
}

TEST_F(OnTerminal, TablesFitItAndAreWholeElsewhere)
{
    for (const std::string volume : {"/volume1/photographs", "/volume2/ärchive"}) {
        EXPECT_EQ(Tool("volume register " + volume + " --unit long-" + volume.substr(1, 7)).exitCode, 0);
    }
    const std::string heading = "KIND  OWNER                 VOLUMES", unit = "\nunit  long-volume";
    const std::string list = kTool + "volume list";
    EXPECT_EQ(Shell("COLUMNS=20 " + list).output,
              heading + unit + "1.service  /volume1/photographs" + unit + "2.service  /volume2/ärchive\n");
    const std::tuple<unsigned short, std::string, std::string> cases[] = {
        {48, "C.UTF-8", heading + unit + "1.service  /volume1/photographs" + unit + "2.service  /volume2/ärchive\n"},
        {43, "C.UTF-8", heading + unit + "1.service  /volume1/photo…" + unit + "2.service  /volume2/ärchi…\n"},
        {30, "C.UTF-8", "KIND  OWNER        VOLUMES\nunit  long-volum…  /volume1/p…\nunit  long-volum…  /volume2/ä…\n"},
        {30, "C", "KIND  OWNER        VOLUMES\nunit  long-vol...  /volume1...\nunit  long-vol...  /volume2...\n"},
        {7, "C.UTF-8", "…  …  …\n…  …  …\n…  …  …\n"},
    };
    for (const auto& [columns, locale, expected] : cases) {
        std::string screen = Terminal("LC_ALL=" + locale + " " + list, columns).Rest();
        std::erase(screen, '\r');
        EXPECT_EQ(screen, expected) << columns;
    }
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
    EXPECT_EQ(Tool("uninstall a < /dev/null").exitCode, 2) << "there is nobody to ask";
    EXPECT_TRUE(Calls().empty());
}

TEST_F(OnTerminal, TopObeysItsKeysAndAlwaysRestoresTheTerminal)
{
    const Waiting smaller; // listed after the one that uses more
    Write("/sys/fs/cgroup/meromonitor/a.slice/tasks", std::to_string(getpid()) + "\n");
    Write("/sys/fs/cgroup/meromonitor/b.slice/tasks", std::to_string(smaller.pid) + "\n");
    const std::string command = kXterm + "slice top --interval ";
    Terminal top(command + "100");
    const auto isColoured = AllOf(HasSubstr("\x1b[32m"), HasSubstr("\x1b[36m"));
    EXPECT_THAT(top.Until("q quit"),
                AllOf(HasSubstr("> a.slice"), isColoured, HasSubstr("Processes of a.slice: 1, by CPU"),
                      HasSubstr("\x1b[?25l"), HasSubstr(";7m"), HasSubstr(";1m")))
        << "without a cursor, with a bar and bold headings";
    EXPECT_THAT(Terminal("NO_COLOR= " + command + "0.1 --count 1").Rest(), isColoured);
    EXPECT_THAT(Terminal("NO_COLOR=1 " + command + "0.1 --count 1").Rest(), Not(HasSubstr("\x1b[32m")));
    // Only changes are written, after the sequence that moves there.
    const std::pair<std::string, std::string> keys[] = {
        {"j", "> b.slice"},
        {"jk", "> a.slice"},
        {"\x1bOB", "> b.slice"},
        {"\x1bOA", "> a.slice"},
        {"kj", "> b.slice"},
        {"m", "Hmemory"},
        {"p", "PID"},
        {"n", "name"},
        {"i", "input"},
        {"o", "output"},
        {"c", "CPU"},
        {"h", "\x1b[J"},
        {"h", "q quit"},
        {"x", "Stop the units of b.slice and kill what is left (processes: 1)? [y/N]"},
        {"n", "q quit"},
    };
    for (const auto& [typed, shown] : keys) {
        top.Type(typed);
        EXPECT_THAT(top.Until(shown), EndsWith(shown)) << typed;
    }
    top.Resize(100);
    EXPECT_THAT(top.Until("OUTPUT"), HasSubstr("INPUT")) << "there is room for more";
    top.Type("xy");
    EXPECT_THAT(top.Until("b.slice: nothing runs there"), HasSubstr("\x1b[?1049l"));
    EXPECT_THAT(top.Until("q quit"), HasSubstr("\x1b[?1049h"));
    EXPECT_EQ(top.HangUp(), 128 + SIGHUP);
    Terminal ignoring("trap '' HUP; " + command + "100");
    EXPECT_THAT(ignoring.Until("q quit"), HasSubstr("INPUT"));
    EXPECT_EQ(ignoring.HangUp(), 0) << "the terminal is gone";
    Write("/sys/fs/cgroup/meromonitor/-.slice/tasks", "");
    Terminal root(command + "100 --sort name");
    EXPECT_THAT(root.Until("q quit"), HasSubstr(", by name"));
    root.Type("xy");
    EXPECT_THAT(root.Until("go on"), HasSubstr("-.slice is not killed: this process runs in it"));
    root.Type("\n");
    EXPECT_THAT(root.Until("q quit"), HasSubstr("\x1b[?1049h"));
    fs::remove_all("/sys/fs/cgroup/meromonitor/-.slice");
    const std::tuple<std::string, std::string, int> cases[] = {{"100", "q", 0},
                                                               {"100", "\x04", 0},
                                                               {"100", "\x03", 130},
                                                               {"100 < /dev/null", "", 0},
                                                               {"0.1 --count 2", "", 0}};
    for (const auto& [options, key, exitCode] : cases) {
        Terminal ending(command + options);
        EXPECT_THAT(ending.Until("q quit"), StartsWith("\x1b[?1049h"));
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
