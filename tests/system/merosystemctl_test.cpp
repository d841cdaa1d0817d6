#include "system/box.h"

#include <gmock/gmock.h>

#include <regex>
#include <sstream>

using namespace MERO::Test;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

ShellResult Tool(const std::string& arguments)
{
    return Shell(std::string(MEROSYSTEMCTL) + " " + arguments);
}

struct Case {
    std::string arguments;
    int exitCode;
    std::string output; ///< a regular expression
};

/// But for lines of progress, which come when the machine is slow.
std::string WithoutProgress(const std::string& output)
{
    static const std::regex progress("[a-z][^ ]*( [^ ]+)* \\([0-9]+ s\\)(: .*)?");
    std::istringstream lines(output);
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        rest += std::regex_match(line, progress) ? "" : line + "\n";
    }
    return rest;
}

void Expect(const std::vector<Case>& cases)
{
    for (const Case& c : cases) {
        const ShellResult result = Tool(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_THAT(WithoutProgress(result.output), MatchesRegex(c.output)) << c.arguments;
    }
}

class Merosystemctl : public Box {
protected:
    Merosystemctl()
    {
        Unit("web.service",
             "[Service]\nExecStart=/bin/sleep infinity\nExecReload=/bin/true\n"
             "[X-Tarvix]\nName=Web \"server\"\nNameI18n=web:title\nDefaultEnable=yes\nFirewallSections=http https\n"
             "BelongsTo=multi-user.target other.service\n");
        Unit("slow.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep 60\n");
        Load();
    }
};

TEST_F(Merosystemctl, ExitCodesAndMessages)
{
    const std::string kSeeLog = "merosystemctl: the reason is in the log: journalctl -t merosystemctl\n";
    Expect({
        {"start web", 0, ""},
        {"reload web", 0, ""},
        {"reload --no-block web", 2, ".*"},
        {"restart web", 0, ""},
        {"try-restart web", 0, ""},
        {"reload-or-restart web", 0, ""},
        {"stop web", 0, ""},
        {"start web unknown other.socket", 4,
         "merosystemctl: other.socket: start failed: there is no such unit\n"
         "merosystemctl: unknown: start failed: there is no such unit\n"},
        {"start --no-block slow", 0, ""},
        {"jobs", 0, "JOB +UNIT +TYPE +STATE\n[0-9]+ +slow.service  start  running\n"},
        {"stop slow", 0, ""},
        {"start --irreversibly --no-block slow", 0, ""},
        {"stop slow", 1, "merosystemctl: (slow: stop failed|stop failed, and systemctl named no unit)\n" + kSeeLog},
        {"reset-failed unknown", 4, "merosystemctl: unknown: reset-failed failed: there is no such unit\n"},
        {"daemon-reload", 0, ""},
        {"show web FragmentPath", 0, "/run/systemd/system/web.service\n"},
        {"show web NoSuchProperty", 1, ".*NoSuchProperty failed\n" + kSeeLog},
        {"list-units --type target", 0, "(.*\n)?basic.target\n.*"},
        {"list-units --type rubbish", 1, ".*\n"},
        {"list-services", 0, "(.*\n)?web\n.*"},
        {"default-target rescue.target", 0, ""},
        {"default-target", 0, "rescue.target\n"},
        {"default-target --offline multi-user.target", 0, ""},
        {"default-target --offline", 2, ".*\n"},
        {"reason add ../up web", 1, ".*reason add failed\n" + kSeeLog},
        {"reason add up web slow.socket", 4, "merosystemctl: slow.socket: reason add failed: there is no such unit\n"},
        {"reason add check web", 0, ""},
        {"reason list", 0, "SERVICE +REASONS\nweb.service  check up\n"},
        {"reason list web slow --json", 0, ".*\"slow\".*\\[\\].*\"web\".*\"check\",.*\"up\".*"},
        {"reason remove check web", 0, ""},
        {"reason release up web", 0, ""},
        {"reason", 2, ".*\n"},
        {"info unknown", 4, "merosystemctl: unknown: no unit file .*\n"},
        {"", 2, "merosystemctl: A subcommand is required\n.*"},
        {"start", 2, "merosystemctl: UNIT is required\n.*"},
        {"dance web", 2, "merosystemctl: there is no command dance\n.*"},
        {"stop --irreversibly web", 2, ".*\n"},
        {"start --verify --no-block web", 2, "merosystemctl: --verify excludes --no-block\n.*"},
        {"volume register /vol1", 2, "merosystemctl: --unit or --package is required\n.*"},
        {"run-in rescue.target", 2, "merosystemctl: run-in takes a command behind --\n"},
        {"process show 4194303", 1, "merosystemctl: 4194303: there is no such process, or it cannot be read\n"},
        {"slice show web", 4, "merosystemctl: web: it is no slice that is tracked\n"},
        {"slice show nowhere.slice", 4, "merosystemctl: nowhere.slice: there is no such slice, or it has no name\n"},
        {"slice list", 3, "merosystemctl: no slice is tracked\n"},
        {"enable --offline nowhere", 4, "(.*\n)?merosystemctl: nowhere: enable failed: there is no such unit\n"},
        {"mask --offline ../up", 4, "merosystemctl: Failed to mask: [^\n]*\nmerosystemctl: ../up: mask failed: .*"},
        {"info web db", 2, ".*\n"},
        {"--version", 0, "merosystemctl [0-9.]+\n"},
        {"--help", 0, ".*start .*stop .*Exit status:.*Examples:.*"},
        {"start --help", 0, ".*--no-block .*--irreversibly .*"},
    });
    EXPECT_EQ(
        Shell(
            "for c in '' start status why info jobs show list-units default-target enable mask uninstall 'reason add' "
            "isolate run-in volume 'volume list' 'volume register' 'volume unmount' 'cgroup move' "
            "slice 'slice list' 'slice show' 'slice kill' 'slice top' process 'process show'; do " MEROSYSTEMCTL
            " $c --help | grep -E '.{81}'; done")
            .output,
        "")
        << "80 columns are enough";
}

TEST_F(Merosystemctl, StatusTellsStatesApart)
{
    Unit("broken.service", "[Service]\nType=oneshot\nExecStart=/bin/false\n");
    Unit("held.service",
         "[Unit]\nDescription=A held one\n[Service]\nExecStart=/bin/true\n[Install]\nWantedBy=multi-user.target\n");
    Load();
    Tool("start web broken; " MEROSYSTEMCTL " start --no-block slow; " MEROSYSTEMCTL
         " reason add check held; systemctl mask --runtime hidden");
    struct Case {
        std::string arguments;
        int exitCode;
        std::string row;
    };
    const Case cases[] = {
        {"web", 0, "web +loaded +active +static +- +- +web.service"},
        {"slow", 3, "slow +loaded +activating +static +start running +- +slow.service"},
        {"held", 3, "held +loaded +inactive +disabled +- +check +A held one"},
        {"hidden", 3, "hidden +masked +inactive +masked +- +- +hidden.service"},
        {"broken", 1, "broken +loaded +failed +static +- +- +broken.service"},
        {"nowhere", 4, "nowhere +not-found +inactive +- +- +- +"},
        {"web held", 3, ".*"},
        {"web held broken", 1, ".*"},
        {"web nowhere broken", 4, ".*"},
    };
    for (const Case& c : cases) {
        const ShellResult result = Tool("status " + c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_THAT(result.output,
                    MatchesRegex("UNIT +LOAD +ACTIVE +ENABLED +JOB +REASONS +DESCRIPTION\n" + c.row + "\n"));
    }
    EXPECT_EQ(
        Tool("status --json slow held | jq -c 'map([.unit, .load, .active, .enabled, .job.type, .reasons])'").output,
        "[[\"slow\",\"loaded\",\"activating\",\"static\",\"start\",[]],"
        "[\"held\",\"loaded\",\"inactive\",\"disabled\",null,[\"check\"]]]\n");
    Tool("reason remove check held; systemctl unmask --runtime hidden");
}

TEST_F(Merosystemctl, EnablementInAllItsForms)
{
    Unit("boot.service", "[Service]\nExecStart=/bin/true\n[Install]\nWantedBy=multi-user.target\n");
    Load();
    struct Case {
        std::string command, enabled;
    };
    const Case cases[] = {
        {"enable boot", "enabled"},
        {"reenable boot", "enabled"},
        {"disable boot", "disabled"},
        {"enable --runtime boot", "enabled-runtime"},
        {"disable --runtime boot", "disabled"},
        {"enable --offline boot", "enabled"},
        {"reenable --offline boot", "enabled"},
        {"disable --offline boot", "disabled"},
        {"reenable --offline --runtime boot", "enabled-runtime"},
        {"disable --offline --runtime boot", "disabled"},
        {"mask boot.timer", "disabled"},
        {"unmask boot.timer", "disabled"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Tool(c.command).exitCode, 0) << c.command;
        EXPECT_EQ(Shell("systemctl is-enabled boot").output, c.enabled + "\n") << c.command;
    }
    for (const std::string options : {"", "--runtime ", "--offline ", "--offline --runtime "}) {
        EXPECT_EQ(Tool("mask " + options + "boot.path").exitCode, 0) << options;
        EXPECT_EQ(Shell("systemctl daemon-reload; systemctl show --value -p LoadState boot.path").output, "masked\n")
            << options;
        EXPECT_EQ(Tool("unmask " + options + "boot.path").exitCode, 0) << options;
        EXPECT_EQ(Shell("systemctl daemon-reload; systemctl show --value -p LoadState boot.path").output, "not-found\n")
            << options;
    }
    EXPECT_EQ(Tool("enable nowhere boot").exitCode, 4);
    EXPECT_EQ(Tool("disable boot").exitCode, 0);
}

TEST_F(Merosystemctl, UninstallAsksOnATerminal)
{
    Unit("doomed.service", "[Service]\nExecStart=/bin/sleep infinity\n");
    Load();
    Tool("start doomed");
    // script gives the program a terminal.
    const std::string onTerminal = "script -qec '" MEROSYSTEMCTL " uninstall doomed.service' /dev/null";
    EXPECT_THAT(Shell("echo n | " + onTerminal).output, HasSubstr("[y/N]"));
    EXPECT_EQ(ActiveState("doomed"), "active");
    EXPECT_EQ(Shell("echo y | " + onTerminal).exitCode, 0);
    EXPECT_EQ(Shell("systemctl show --value -p LoadState doomed").output, "not-found\n");
}

TEST_F(Merosystemctl, IsolatesAndRunsCommandsInTargets)
{
    Unit("small.target", "[Unit]\nAllowIsolate=yes\nRequires=sysinit.target dbus.socket\n");
    Unit("lingers.service", "[Service]\nExecStart=/bin/sleep infinity\nExecStop=/bin/sleep 3\n");
    Load();
    const std::string kProgress =
        ".*isolating to small.target \\([1-3] s\\): [^\n]*lingers.service stop \\([0-2] s\\).*";
    const Case cases[] = {
        {"isolate-state", 3, "no isolation is going on\n"},
        {"isolate-state --json", 3, "\\{\n  \"isolating\" : false,\n  \"target\" : \"\"\n\\}\n"},
        {"start lingers", 0, ""},
        {"isolate small.target", 0, "isolated to small.target; what it stops has stopped\n"},
        {"isolate default.target --no-block", 0, "isolated to default.target; .*\n"},
        {"isolate web", 1, "merosystemctl: isolating to web failed\n.*\n"},
        {"isolate", 2, ".*"},
        {"run-in small.target -- systemctl is-active small.target", 0, "active\n"},
        {"run-in small.target -- sh -c 'exit 7'", 7, "merosystemctl: sh: exit code 7\n"},
        {"run-in small.target -- sh -c 'kill -TERM $PPID; sleep 20'", 143, "merosystemctl: sh: exit code 143\n"},
        {"run-in small.target -- no-such-program", 2, "merosystemctl: no-such-program: there is no such program\n"},
        {"run-in web -- true", 1, "merosystemctl: isolating to web failed\n.*\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const ShellResult result = Tool(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_THAT(WithoutProgress(result.output), MatchesRegex(c.output));
        if (c.arguments == "isolate small.target") {
            EXPECT_THAT(result.output, MatchesRegex(kProgress));
        }
        if (c.arguments.starts_with("run-in")) {
            EXPECT_EQ(ActiveState("small.target"), "inactive");
            EXPECT_EQ(ActiveState("multi-user.target"), "active") << "it is the default target";
        }
    }
    Shell("mkdir -p /run/merosystemd; printf 'target=small.target\\npid=999999\\n' > /run/merosystemd/isolate-state");
    EXPECT_EQ(Tool("isolate-state").exitCode, 1) << "a killed isolation is not none";
    Shell("rm /run/merosystemd/isolate-state");
}

TEST_F(Merosystemctl, VolumesAndCgroups)
{
    Unit("user.service",
         "[Service]\nExecStart=/bin/sleep infinity\nWorkingDirectory=/vol1\n[X-Tarvix]\nVolumeDependency=partial\n");
    Unit("bulk.slice", "[Slice]\n");
    Load();
    Shell("mkdir -p /vol1 /var/packages/Foo /sys/fs/cgroup/meromonitor/bulk.slice; mount -t tmpfs tmpfs /vol1; touch "
          "/vol1/file; "
          "systemctl start user bulk.slice; systemd-run --scope --unit=holder sleep infinity < /vol1/file > /dev/null "
          "2>&1 &");
    EXPECT_TRUE(Comes([] { return Tool("volume plan /vol1").output.find("holder.scope") != std::string::npos; }));
    const std::string kStopping = "stopping: user.service\n";
    const std::string kHolder = "merosystemctl: in use by process [0-9]+ \\(sleep\\), fd: /vol1/file\n";
    const std::string kAgain = "running again: user.service\n";
    const std::string kInSlice = " -- grep -c ':name=.*:/bulk.slice$' /proc/self/cgroup";
    Expect({
        {"volume register /vol1 --unit web", 0, ""},
        {"volume register /vol2 --package Foo", 0, ""},
        {"volume register /vol2 --package Bar", 1, "merosystemctl: Bar: volume register failed\n.*\n"},
        {"volume list", 0, "KIND +OWNER +VOLUMES\nunit +web.service +/vol1\npackage +Foo +/vol2\n"},
        {"volume list /vol2 --json | jq -c '.[] | [.kind, .owner, .volumes]'", 0,
         "\\[\"package\",\"Foo\",\\[\"/vol2\"\\]\\]\n"},
        {"volume unregister /vol2 --package Foo", 0, ""},
        {"volume users /vol1", 0, "user.service\n"},
        {"volume dependency user", 0, "partial\n"},
        {"volume dependency nowhere", 4, "merosystemctl: nowhere: .*\n"},
        {"volume plan /vol1", 0,
         "SERVICE .*\nuser.service +uses files +[0-9]+ .*\nWHAT .*\nprocess +holder.scope +[0-9]+ .*"},
        {"volume unmount --dry-run --json /vol1 | jq -r '.stops[].unit, .blockers[].user.file'", 0,
         "user.service\n/vol1/file\n"},
        {"volume unmount /vol1", 32,
         kStopping + "umount: [^\n]*\n" + kHolder + kAgain + "merosystemctl: umount: exit code 32\n"},
        {"volume unmount /vol1 -- sh -c 'exit 7' --dry-run", 7,
         kStopping + kHolder + kAgain + "merosystemctl: sh: exit code 7\n"},
        {"volume unmount /vol1 -- echo --json -- --help", 0, kStopping + "--json -- --help\n" + kAgain},
        {"volume unmount /vol1 -- no-such-program", 2, "merosystemctl: no-such-program: there is no such program\n"},
        {"stop holder.scope", 0, ""},
        {"volume unmount /vol1", 0, kStopping + kAgain},
        {"cgroup show 1", 0, "Unit +init.scope\nsystemd +/init.scope\nmeromonitor +/\n"},
        {"cgroup show 4194303", 1, "merosystemctl: 4194303: .*\n"},
        {"cgroup show 0", 2, ".*"},
        {"volume plan vol1", 2, "merosystemctl: VOLUME: vol1: a mount path begins .*"},
        {"volume unmount --json /vol1", 2, ".*"},
        {"volume unmount /run/nothing", 1, "merosystemctl: /run/nothing: is not mounted\n"},
        {"cgroup move bulk.slice" + kInSlice, 0, "2\n"},
        {"cgroup move bulk.slice -- " MEROSYSTEMCTL " cgroup move --root" + kInSlice, 0, "1\n"},
        {"cgroup move bulk.slice", 2, ".*"},
    });
    Shell("rm -r /usr/mero/etc/merosystemd/volume-register; rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

TEST_F(Merosystemctl, DataAsJson)
{
    EXPECT_EQ(Tool("jobs --json | jq -c .").output, "[]\n");
    ASSERT_EQ(Tool("start --no-block slow").exitCode, 0);
    EXPECT_EQ(Tool("jobs --json | jq -c 'map(del(.id))'").output,
              "[{\"state\":\"running\",\"type\":\"start\",\"unit\":\"slow.service\"}]\n");
    EXPECT_EQ(Tool("info web --json | jq -cS .").output,
              "{\"belongsTo\":[\"multi-user.target\"],\"defaultEnable\":true,\"firewallSections\":[\"http\",\"https\"],"
              "\"infoCenter\":false,\"name\":\"Web \\\"server\\\"\",\"nameI18n\":\"web:title\",\"nanoUpdate\":false,"
              "\"oneClickEnable\":false,\"packedIn\":[],\"supported\":true,\"unit\":\"web\"}\n");
    EXPECT_THAT(Tool("info web").output, HasSubstr("Firewall sections      http https\n"));
}

TEST_F(Merosystemctl, TellsWhyAUnitDoesNotRun)
{
    Unit("broken.service", "[Service]\nType=oneshot\nExecStart=/bin/sh -c 'echo no disk; exit 3'\n");
    Unit("needy.service",
         "[Unit]\nRequires=broken.service\nAfter=broken.service\n[Service]\nExecStart=/bin/sleep 99\n");
    Unit("picky.service", "[Unit]\nConditionPathExists=/nowhere\n[Service]\nType=oneshot\nExecStart=/bin/true\n");
    Unit("dies.service", "[Service]\nExecStart=/bin/false\n");
    Unit("reborn.service", "[Service]\nExecStart=/bin/sleep 0.2\nRestart=always\nRestartSec=0\n");
    Unit("phoenix.service", "[Service]\nExecStart=/bin/sleep infinity\nRestart=always\nRestartSec=0\n");
    Unit("quick.service", "[Service]\nType=oneshot\nExecStart=/bin/true\n");
    Unit("off.service", "[Service]\nExecStart=/bin/true\n[Install]\nWantedBy=multi-user.target\n");
    Unit("rival.service", "[Unit]\nConflicts=off.service\n[Service]\nExecStart=/bin/sleep infinity\n");
    Unit("unmount-volume-begin.target", "[Unit]\nConflicts=quick.service\nDefaultDependencies=no\n");
    Load();
    const std::string kExit3 = "result exit-code: its main process ended[ \n]+with exit code 3\n.*";
    const std::string kLog = ".*no disk\n.*";
    Expect({
        {"why web", 3, "web.service does not run: inactive \\(dead\\)\n.*"},
        {"start --verify web", 0, ""},
        {"why web", 0, "web.service runs: active \\(running\\) since [^\n]*\n"},
        {"why nowhere", 4, "merosystemctl: nowhere: there is no such unit\n"},
        {"start broken", 1, "merosystemctl: broken: start failed\n +failed +" + kExit3 + kLog},
        {"why broken", 1, "broken.service does not run: failed .*\nfailed +" + kExit3 + kLog},
        {"start needy", 1,
         ".* dependency +broken.service failed, " + kExit3 + "-> merosystemctl why broken.service\n.*"},
        {"start picky", 0, ""},
        {"why picky", 3, ".*\ncondition +.*ConditionPathExists=/nowhere.*"},
        {"start --verify picky", 1, "merosystemctl: picky: start was done, but .* inactive .*condition .*"},
        {"start --verify quick", 0, ""},
        {"start dies", 0, ""},
        {"start --verify dies", 1, ".*a second later the unit is failed \\(failed\\)\n  failed .*exit code 1\n.*"},
        {"start --verify reborn", 1, "merosystemctl: reborn: start was done, but .*"},
        {"start phoenix; systemctl kill -s KILL phoenix; sleep 0.5", 0, ""},
        {"show phoenix NRestarts", 0, "1\n"},
        {"start --verify phoenix", 0, ""}, // what was before does not count
        {"stop --verify reborn web phoenix", 0, ""},
        {"start rival", 0, ""},
        {"why off", 3, ".*\nconflict +rival.service runs\n +-> merosystemctl stop rival.service\ndisabled .*"},
        {"start unmount-volume-begin.target", 0, ""},
        {"why quick", 3, ".*\nvolume +it stopped for a volume [^\n]*\n.*"},
        {"stop unmount-volume-begin.target rival", 0, ""},
        {"reason add check off", 0, ""},
        {"mask dies", 0, ""},
        {"why off", 3,
         ".*\nheld +by the reason check since .* \\([0-9]+ s\\)\n +-> merosystemctl reason release check off.*"},
        {"why dies", 1, ".*masked +it cannot be started\n +-> merosystemctl unmask dies.service\n.*"},
        {"start --no-block slow", 0, ""},
        {"why slow", 3, ".*\njob +start running, number [0-9]+\n.*"},
        {"why --json slow | jq -r '.active, .causes[0].kind'", 0, "activating\njob\n"},
        {"stop slow", 0, ""},
    });
    EXPECT_THAT(Shell("script -qec '" MEROSYSTEMCTL " why broken' /dev/null").output, HasSubstr("\x1b[31mfailed"));
    EXPECT_THAT(Shell("NO_COLOR=1 script -qec '" MEROSYSTEMCTL " why broken' /dev/null").output,
                ::testing::Not(HasSubstr("\x1b[3")));
    Shell("systemctl unmask dies; rm -r /run/merosystemd/reasons; chmod a-x /usr/bin/systemctl");
    Expect({{"start web", 6, "merosystemctl: start failed: /usr/bin/systemctl cannot be run\n"}, {"why web", 6, ".*"}});
    Shell("chmod a+x /usr/bin/systemctl");
}

TEST_F(Merosystemctl, CompletesCommandLines)
{
    Shell(MEROSYSTEMCTL " reason add a-reason web; " MEROSYSTEMCTL " volume register /vol9 --unit web");
    Expect({
        {"complete -- star", 0, "start\n"},
        {"complete -- volume un", 0, "unmount\nunregister\n"},
        {"complete -- start --no-block we", 0, "web.service\n"},
        {"complete -- stop web slo", 0, "slow.service\n"},
        {"complete -- start --v", 0, "--verify\n"},
        {"complete -- reason release ''", 0, "a-reason\n"},
        {"complete -- reason list w", 0, "web.service\n"},
        {"complete -- volume plan /vol", 0, "/vol9\n"},
        {"complete -- list-units --type ti", 0, "timer\n"},
        {"complete -- slice kill syst", 0, "system-.*\n"},
        {"complete -- show web ''", 0, ""},
        {"complete -- nonsense ''", 0, ""},
        {"complete --", 0, ".*\nwhy\n.*"},
        {"--help | grep -c complete", 1, "0\n"},
    });
    const std::string complete =
        "PATH=$(dirname " MEROSYSTEMCTL "):$PATH bash -c '. " COMPLETION
        "; COMP_WORDS=(merosystemctl start slow); COMP_CWORD=2; _merosystemctl; echo ${COMPREPLY[@]}'";
    EXPECT_EQ(Shell(complete).output, "slow.service\n");
    Shell("rm -r /run/merosystemd/reasons /usr/mero/etc/merosystemd/volume-register");
}

TEST_F(Merosystemctl, WhatIsPrintedIsTextOrJsonOfItsSchema)
{
    Unit("user.service", "[Service]\nExecStart=/bin/sleep infinity\nWorkingDirectory=/vol1\n"
                         "[X-Tarvix]\nName=User\nVolumeDependency=partial\n");
    Unit("bulk.slice", "[X-Tarvix]\nName=Bulk\n");
    Load();
    Shell("mkdir -p /vol1 /sys/fs/cgroup/meromonitor/bulk.slice; mount -t tmpfs tmpfs /vol1; systemctl start user; "
          "echo $(systemctl show --value -p MainPID user) > /sys/fs/cgroup/meromonitor/bulk.slice/cgroup.procs; "
          "sleep infinity < /vol1 > /dev/null 2>&1 & " MEROSYSTEMCTL " start --no-block slow; " MEROSYSTEMCTL
          " reason add check web; " MEROSYSTEMCTL " volume register /vol1 --unit web");
    const std::pair<std::string, std::string> commands[] = {
        {"status", "user slow nowhere"},
        {"why", "web"},
        {"jobs", ""},
        {"info", "user"},
        {"show", "web Id"},
        {"list-units", ""},
        {"list-services", ""},
        {"default-target", ""},
        {"reason list", ""},
        {"isolate-state", ""},
        {"volume list", ""},
        {"volume users", "/vol1"},
        {"volume dependency", "user"},
        {"volume plan", "/vol1"},
        {"cgroup show", "1"},
        {"process show", "--interval 0.1 1"},
        {"slice list", ""},
        {"slice show", "--interval 0.1 bulk.slice"},
        {"slice top", "--interval 0.1 --count 1"},
    };
    for (const auto& [command, arguments] : commands) {
        const ShellResult text = Tool(command + " " + arguments);
        EXPECT_NE(text.output, "") << command;
        EXPECT_EQ(Tool(command + " " + arguments + " --json > /run/out.json").exitCode, text.exitCode) << command;
        EXPECT_GT(std::stoi(Shell("wc -c < /run/out.json").output), 2) << command;
        const std::string name = std::regex_replace(command, std::regex(" "), "%20");
        const ShellResult result =
            Shell("jq '. + {\"$ref\": \"#/definitions/" + name +
                  "\"}' " SCHEMA " > /run/schema.json; /usr/bin/jsonschema -i /run/out.json /run/schema.json");
        EXPECT_EQ(result.exitCode, 0) << command << ": " << result.output;
    }
    // The screen of a terminal ends with a key.
    EXPECT_THAT(Shell("(sleep 2; echo q) | TERM=xterm script -qec '" MEROSYSTEMCTL " slice top' /dev/null").output,
                AllOf(HasSubstr("bulk.slice"), HasSubstr("MEMORY")));
    EXPECT_EQ(Shell("systemd-run --quiet --slice=bulk.slice sleep infinity").exitCode, 0);
    Expect({{"slice kill bulk.slice", 0, "stopping its units\n.*bulk.slice: killed\n"},
            {"slice kill bulk.slice", 0, "bulk.slice: nothing runs there in systemd's hierarchy\n"},
            {"slice kill bulk", 1, ".*killing bulk failed\n.*"},
            {"slice kill -- -.slice", 1, "merosystemctl: -.slice is not killed: .*--force.*\n"}});
    EXPECT_THAT(Shell("systemd-run --quiet --pipe --slice=bulk.slice " MEROSYSTEMCTL " slice kill bulk.slice").output,
                HasSubstr("bulk.slice is not killed: this process runs in it"));
    Shell("systemctl stop slow user; pkill -f 'sleep infinity'; umount -l /vol1; "
          "rm -r /run/merosystemd/reasons /usr/mero/etc/merosystemd/volume-register");
}

TEST_F(Merosystemctl, TheExamplesRun)
{
    EXPECT_THAT(Shell(EXAMPLE_START_UNIT " web").output, "web runs\n");
    EXPECT_EQ(ActiveState("web"), "active");
    EXPECT_EQ(Shell(EXAMPLE_START_UNIT " unknown").exitCode, 1);
    EXPECT_EQ(Shell(EXAMPLE_RESTART_UNITS " web").exitCode, 0);
    const ShellResult result = Shell(EXAMPLE_RESTART_UNITS " web unknown");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "unknown was not restarted; syslog tells why\n");
}

} // namespace
