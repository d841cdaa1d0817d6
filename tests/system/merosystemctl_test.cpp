#include "system/box.h"

#include <gmock/gmock.h>

#include <sstream>

using namespace MERO::Test;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

const std::string kSystemd = "  systemd +"; // before systemd's message

ShellResult Tool(const std::string& arguments)
{
    return Shell(std::string(MEROSYSTEMCTL) + " " + arguments);
}

struct Case {
    std::string arguments;
    int exitCode;
    std::string output; ///< a regular expression
};

/// Removes progress lines, which appear if the machine is slow.
std::string WithoutProgress(const std::string& output)
{
    const auto isProgress = ::testing::Matches(MatchesRegex("[a-z][^ ]*( [^ ]+)* \\([0-9]+ s\\)(: .*)?"));
    std::istringstream lines(output);
    std::string rest;
    for (std::string line; std::getline(lines, line);) {
        rest += isProgress(line) && !line.starts_with("merosystemctl: ") ? "" : line + "\n";
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
        Unit("web.service", "[Service]\nExecStart=/bin/sleep infinity\nExecReload=/bin/true\n");
        Unit("slow.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep 60\n");
        Unit("slow-to-stop.service", "[Service]\nExecStart=/bin/sleep infinity\nExecStop=/bin/sleep 60\n");
        Unit("nostop.service", "[Unit]\nRefuseManualStart=yes\n[Service]\nExecStart=/bin/true\n");
        Unit("torn.service", "[Unit]\nRequires=web.service\nConflicts=web.service\n[Service]\nExecStart=/bin/true\n");
        Unit("echo.service", "[Service]\nExecStart=/bin/sleep infinity\n");
        Unit("echo.socket", "[Socket]\nListenStream=/run/echo\n");
        Unit("boot.service", "[Unit]\nDescription=A b\n[Service]\nExecStart=/bin/true\n"
                             "[Install]\nWantedBy=multi-user.target\n");
        Load();
    }
};

TEST_F(Merosystemctl, ReportsWhatSystemdDid)
{
    Expect({
        {"start web", 0, ""},
        {"reload web", 0, ""},
        {"restart web", 0, ""},
        {"try-restart boot", 0, ""},
        {"reload-or-restart boot", 0, ""},
        {"start web unknown other.socket", 4,
         "merosystemctl: other.socket: start failed: there is no such unit\n"
         "merosystemctl: unknown: start failed: there is no such unit\n"},
        {"start --irreversibly --no-block slow", 0, ""},
        {"jobs", 0, "JOB +UNIT +TYPE +STATE\n[0-9]+ +slow.service  start  running\n"},
        {"stop slow", 1, "merosystemctl: slow: stop failed\n" + kSystemd + "Transaction for slow.service/stop is .*"},
        {"start nostop torn web@ nowhere web", 4,
         "merosystemctl: nostop: start failed\n" + kSystemd +
             "Operation refused, unit nostop.service may be .*"
             "merosystemctl: nowhere: [^\n]*no such unit\nmerosystemctl: torn: start failed\n" +
             kSystemd + "Transaction contains conflicting jobs .*merosystemctl: web@: [^\n]*\n" + kSystemd +
             "Unit name web@.service is missing the instance name.\n"},
        {"reload boot", 1, "merosystemctl: boot: reload failed\n" + kSystemd + "Job type reload is not applicable .*"},
        {"start echo.socket 'ech[o].service'", 4, "merosystemctl: ech.o..service: no loaded unit matches\n"},
        {"start echo.socket echo", 0, ""},
        {"stop --dry-run echo", 0, "UNIT .*\necho.service +stops +named\necho.service +can start again +on .*\n"},
        {"stop 'ech*.service'", 0, "[^\n]*Stopping .?echo.service.?, but [^\n]*:\n *echo.socket\n"},
        {"stop 'ech*'", 0, "merosystemctl: ech.: stop of 2 units: echo.service echo.socket\n"},
        {"--timeout 1 restart slow-to-stop", 0, ""},
        {"stop --timeout 1 slow-to-stop", 5,
         "merosystemctl: slow-to-stop: not done after 1 s; its job stays queued\n +job +stop running, .*"},
        {"is-active web slow-to-stop", 0, "active\ndeactivating\n"},
        {"is-failed web", 3, "active\n"},
        {"is-enabled nowhere", 4, "not-found\n"},
        {"try-restart slow-to-stop web", 0, ""},
        {"reload slow-to-stop", 0, ""},
        {"status slow-to-stop", 3, "slow-to-stop.service\nActive +deactivating .*\nJob +stop running\n.*Stopping.*"},
        {"reset-failed unknown", 4, "merosystemctl: unknown: reset-failed failed: there is no such unit\n"},
        {"reason add --no-protect check boot", 0, ""},
        {"mask --runtime hidden", 0, "Unit hidden.service does not exist, proceeding anyway.\n"},
        {"status web slow boot hidden nowhere", 4,
         "UNIT .*\nweb +loaded +active +static +- +- +web.service\n"
         "slow +loaded +activating +static +start running +- +slow.service\n"
         "boot +loaded +inactive +disabled +- +check +A b\nhidden +masked +inactive +masked-runtime +- +- "
         "+hidden.service\n"
         "nowhere +not-found +inactive +- +- +- +nowhere.service\n"},
        {"unmask --runtime hidden", 0, ""},
        {"reason remove check boot", 0, ""},
        {"show web FragmentPath", 0, "/run/systemd/system/web.service\n"},
        {"show web NoSuchProperty", 1, "merosystemctl: web: systemd has no property NoSuchProperty\n"},
        {"show web Id,LoadState", 0, "web.service\nloaded\n"},
        {"show -p Id,LoadState web nowhere", 0,
         "Id=web.service\nLoadState=loaded\n\nId=nowhere.service\nLoadState=not-found\n"},
        {"show 'nfs other' MainPID", 1, "merosystemctl: nfs other: systemd cannot be asked for this name\n"},
        {"enable --offline boot", 0, ""},
        {"show boot UnitFileState", 0, "enabled\n"},
        {"disable --offline boot", 0, ""},
        {"reenable --offline --runtime boot", 0, ""},
        {"daemon-reload", 0, ""},
        {"show boot UnitFileState", 0, "enabled-runtime\n"},
        {"disable --offline --runtime boot", 0, ""},
        {"enable --offline nowhere", 4, "(.*\n)?merosystemctl: nowhere: enable failed: there is no such unit\n"},
        {"mask --offline --runtime boot.path", 0, ""},
        {"unmask --offline --runtime boot.path", 0, ""},
        {"mask --offline ../up", 1, "merosystemctl: ../up: mask failed\n" + kSystemd + "Invalid argument.\n"},
        {"enable boot nowhere", 4,
         "merosystemctl: boot: enable failed\n" + kSystemd +
             "Unit (file )?nowhere.service does not exist.?\n"
             "merosystemctl: nowhere: enable failed: there is no such unit\n"},
        {"uninstall boot.service < /dev/null", 2, "merosystemctl: uninstall removes files .* --yes to do it\n"},
        {"uninstall --dry-run boot", 0, "UNIT .*\nboot.service +loses its file +/run/systemd/system/boot.service\n.*"},
        {"uninstall --yes boot.service", 0, ""},
        {"info boot", 4, "merosystemctl: boot: no unit file .*\n"},
    });
}

TEST_F(Merosystemctl, ListsUnitsJobsAndTargets)
{
    const std::string cgroups =
        IsUnified() ? "2; slices are measured in systemd.s own" : "1, with the resource monitor.s hierarchy";
    Expect({
        {"list-unit-files", 0, "UNIT +STATE\n.*\nboot.service +disabled\n.*\nbasic.target +static\n.*"},
        {"list-unit-files --type target", 0, "UNIT +STATE\n([a-z0-9@-]+.target +[a-z]+\n)+"},
        {"list-units 'sys*.target' web.service nowhere", 0,
         "UNIT +LOAD +ACTIVE +SUB +DESCRIPTION\nsysinit.target +loaded +active +active +[A-Z].*"},
        {"list-units --failed --all nowhere", 4, "merosystemctl: nowhere: no loaded unit matches\n"},
        {"list-services", 0, ".*\nboot\n.*"},
        {"doctor", 0,
         "good +dialect +systemctl is read in the current dialect\ngood +cgroups +version " + cgroups +
             "\nnote +event log .*\nnote +monitor .*\ngood +journal +can be read\ngood +holds +0 [^\n]*\n"
             "good +locks +none is held\ngood +isolation [^\n]*\ngood +unmount [^\n]*\n"},
        {"default-target rescue.target", 0, ""},
        {"default-target", 0, "rescue.target\n"},
        {"default-target --offline multi-user.target", 0, ""},
        {"default-target", 0, "multi-user.target\n"},
        {"default-target web.service", 1,
         "merosystemctl: setting the default target failed\n" + kSystemd + "Invalid .*"},
        {"start --no-block slow", 0, ""},
    });
    SetBootStep(2);
    Expect({
        {"start web slow", 1, "merosystemctl: slow: start failed\n +job +start running.*web: start failed\n.*"},
        {"restart slow", 1, "merosystemctl: slow: restart failed\n.*"},
        {"status web slow", 3, "UNIT .*\nweb +loaded +inactive .*\nslow +loaded +activating .*"},
        {"start web", 0, ""},
        {"stop slow", 0, ""},
        {"start --no-block slow", 0, ""},
    });
    SetBootStep(4);
    Expect({{"start --no-block slow", 0, ""}, {"stop slow", 0, ""}});
}

TEST_F(Merosystemctl, TheLastReleaseStartsAServiceAndWhatItTookDown)
{
    const std::string kSleeps = "[Service]\nExecStart=/bin/sleep infinity\n", kLinked = "/mero-reason.conf";
    const std::string kOwn = "[Unit]\nConditionDirectoryNotEmpty=!/run/merosystemd/reasons/%n\n";
    Unit("base.service", kSleeps), Unit("base.service.d" + kLinked, kOwn);
    Unit("odd.service", kSleeps), Unit("odd.service.d" + kLinked, "[Unit]\n");
    Unit("page.service", "[Unit]\nRequires=web.service base.service\nAfter=web.service base.service\n" + kSleeps);
    Unit("page.socket", "[Unit]\nPartOf=page.service\n[Socket]\nListenStream=/run/page\n");
    Unit("part.service", "[Unit]\nPartOf=web.service\n" + kSleeps);
    Load();
    Shell("ln -s web.service /run/systemd/system/alias.service");
    const std::string kSays = "merosystemctl: ", kGuarded = ": a drop-in keeps it from starting until [^\n]*\n";
    const auto held = [](const std::string& reason) {
        return "  held +by the reason " + reason + " since [^\n]*\n +-> merosystemctl reason release " + reason;
    };
    Expect({
        {"start web base odd page.socket page part", 0, ""},
        {"reason add upgrade web boot nowhere", 4,
         kSays + "web.service" + kGuarded + kSays + "boot.service" + kGuarded + kSays +
             "nowhere: [^\n]* no such unit\n"},
        {"reason add check alias base odd", 0,
         kSays + "odd.service: [^\n]*/odd.service.d" + kLinked + " is not ours\n"},
        {"reason add own part", 0, kSays + "part.service" + kGuarded},
        {"start slow-to-stop alias", 3,
         kSays + "alias: nothing was done: it is held\n" + held("check") + " web.service\n" + held("upgrade") + ".*"},
        {"status slow-to-stop", 0, ".*"},
        {"reason release other web", 3, kSays + "web: it does not have the reason other\n"},
        {"reason release --dry-run upgrade web boot", 0,
         "UNIT .*\nweb.service +stays held +by check\nboot.service +starts +named\n.*"},
        {"reason release upgrade web boot", 0, kSays + "boot.service: the drop-in [^\n]* is gone\n"},
    });
    EXPECT_EQ(
        Shell("systemctl start web; systemctl is-active web; ls -d /run/merosystemd/reasons/nowhere* 2> /dev/null; "
              "cat /run/systemd/system/odd.service.d" +
              kLinked)
            .output,
        "inactive\n[Unit]\n");
    Expect({
        {"reason release check alias", 0, kSays + "web.service: the drop-in [^\n]* is gone\n"},
        {"status web page page.socket part", 3,
         "UNIT .*\nweb +loaded +active .*\npage +loaded +inactive .*\n"
         "page.socket +loaded +inactive .*\npart +loaded +inactive .*"},
        {"reason release check base odd", 0, ""},
        {"status web base odd page page.socket", 0, ".*"},
        {"reason add check web", 0, ".*"},
        {"reason remove own part", 0, ".*"},
    });
    Unit("web.service.d/slow.conf", "[Service]\nExecStartPre=/bin/sleep 1\n");
    Load();
    Shell(std::string(MEROSYSTEMCTL) + " reason release check web & sleep 0.7; kill -KILL $!");
    EXPECT_TRUE(Reaches("page.service", "active")) << "the releasing process was killed";
    EXPECT_TRUE(Comes([] { return Shell("find /run/merosystemd/stopped-along -type f").output == ""; }));
    EXPECT_NE(ActiveState("part"), "active");
    Shell("rm /run/systemd/system/alias.service");
}

TEST_F(Merosystemctl, ExplainsWhyAUnitDoesNotRun)
{
    Unit("broken.service", "[Service]\nType=oneshot\nExecStart=/bin/sh -c 'echo no disk; exit 3'\n");
    Unit("needy.service",
         "[Unit]\nRequires=broken.service\nAfter=broken.service\n[Service]\nExecStart=/bin/sleep 99\n");
    Unit("picky.service", "[Unit]\nConditionPathExists=/nowhere\n[Service]\nType=oneshot\nExecStart=/bin/true\n");
    Unit("dies.service", "[Service]\nExecStart=/bin/false\n");
    Unit("reborn.service", "[Service]\nExecStart=/bin/sleep 0.2\nRestart=always\nRestartSec=0\n");
    Unit("quick.service", "[Service]\nType=oneshot\nExecStart=/bin/true\n");
    Unit("again.service", "[Unit]\nStartLimitIntervalSec=0\n[Service]\nExecStartPre=/bin/true\nExecStartPre=/nowhere\n"
                          "ExecStart=/bin/true\nRestart=always\nRestartSec=20\n");
    Unit("front.service", "[Unit]\nRequires=needy.service again.service\nAfter=needy.service\nPartOf=web.service\n"
                          "[Service]\nExecStart=/bin/sleep 99\n");
    Unit("part.service", "[Unit]\nPartOf=web.service\n[Service]\nExecStart=/bin/sleep 99\n");
    Unit("off.service", "[Service]\nExecStart=/bin/true\n[Install]\nWantedBy=multi-user.target\n");
    Unit("rival.service", "[Unit]\nConflicts=off.service\n[Service]\nExecStart=/bin/sleep infinity\n");
    Unit("unmount-volume-begin.target", "[Unit]\nConflicts=quick.service\nDefaultDependencies=no\n");
    Load();
    const std::string kExit3 =
        "result exit-code: ExecStart=/bin/sh ended[ \n]+with[ \n]+exit[ \n]+code 3\n.*no disk\n.*";
    const std::string kLog = ".*with result .exit-code.*";
    Expect({
        {"why web", 3, "web.service does not run: inactive \\(dead\\)\n.*"},
        {"start --verify web quick", 0, ""},
        {"why web", 0, "web.service runs: active \\(running\\) since [^\n]*\n"},
        {"why nowhere", 4, "merosystemctl: nowhere: there is no such unit\n"},
        {"start broken", 1, "merosystemctl: broken: start failed\n +failed +" + kExit3 + kLog},
        {"start web needy other.socket", 4,
         ".* dependency +broken.service failed, " + kExit3 + "-> merosystemctl why broken.service\n.*"},
        {"start --verify picky dies reborn", 1,
         "merosystemctl: picky: started, but .* inactive .*condition .*ConditionPathExists=/nowhere.*"
         "dies: started, but it had failed one second later\n  failed .*exit code 1\n.*reborn: started, but .*"},
        {"start part", 0, ""},
        {"stop --verify reborn web", 0, ""},
        {"why part", 3,
         ".*\ndependency  web.service was stopped at the same time .PartOf=.\n.*-> merosystemctl start web.*"},
        {"start front", 1, ".*"},
        {"why front", 3,
         ".*\ndependency  broken.service failed, [^\n]*\n[^\n]*.needed by needy.service.\n[^\n]*no disk\n.*"},
        {"why front", 3, // systemd names dependencies in any order
         ".*\ndependency  again.service is restarted again and again, [^\n]*\n +ExecStartPre=/nowhere ended with exit "
         "code 203/EXEC .*"},
        {"overview", 0, "failed      again.service, is restarted again and again\n +broken.service\n.*why\n.*"},
        {"stop again", 0, ""},
        {"start rival unmount-volume-begin.target", 0, ""},
        {"why off", 3, ".*\nconflict +rival.service is running\n +-> merosystemctl stop rival.service\ndisabled .*"},
        {"why quick", 3, ".*\nvolume +stopped while a volume [^\n]*\n.*"},
        {"stop unmount-volume-begin.target rival", 0, ""},
        {"reason add --no-protect check off", 0, ""},
        {"mask off", 0, ""},
        {"why off", 3,
         ".*\nheld +by the reason check since .*\nmasked +it cannot be started\n.*unmask off.service\n.*"},
        {"start --no-block slow", 0, ""},
        {"why slow", 3, ".*\njob +start running, number [0-9]+\n.*"},
        {"stop slow", 0, ""},
    });
    Shell("systemctl unmask off; rm -r /run/merosystemd/reasons");
}

TEST_F(Merosystemctl, NamesSystemdsExitCodes)
{
    Unit("ends@.service", "[Service]\nType=oneshot\nExecStart=/bin/sh -c 'exit %i'\n");
    Load();
    // 255 means nothing in particular.
    std::istringstream codes(
        Shell("systemd-analyze exit-status | awk '$3 == \"systemd\" && $2 < 255 { print $2, $1 }'").output);
    std::string units, named;
    for (std::string number, name; codes >> number >> name;) {
        units += " ends@" + number;
        named += number + "/" + name + "\n";
    }
    ASSERT_THAT(named, HasSubstr("203/EXEC\n"));
    Tool("start" + units + " ends@199");
    EXPECT_EQ(Shell(std::string(MEROSYSTEMCTL) + " why" + units +
                    " ends@199 | tr -s ' \n' ' ' | "
                    "grep -o 'ended with exit code [^ ]*' | cut -d ' ' -f 5")
                  .output,
              named + "199\n");
}

TEST_F(Merosystemctl, IsolatesAndRunsCommandsInTargets)
{
    Unit("small.target", "[Unit]\nAllowIsolate=yes\nRequires=sysinit.target dbus.socket\n");
    Load();
    const std::string isActive = "systemctl is-active small.target; kill -TERM $PPID; exec sleep 20";
    Expect({
        {"start web echo.socket echo", 0, ""},
        {"isolate --dry-run small.target", 0,
         "UNIT .*\nsmall.target +starts +named\n.*echo.service +may stop +as does echo.socket\n.*"
         "web.service +stops +small.target does not need it\n.*echo.socket +stops .*merosystemctl: nothing was done.*"},
        {"is-active web small.target", 0, "active\ninactive\n"},
        {"isolate small.target", 0, "isolated to small.target; everything it stops has stopped\n"},
        {"is-active web", 3, "inactive\n"},
        {"is-active dbus", 0, "active\n"}, // dbus.socket stays
        {"isolate default.target --no-block", 0, "isolated to default.target; .*\n"},
        {"isolate web", 4, "merosystemctl: web.target: there is no such target\n"},
        {"isolate web.service", 1,
         "merosystemctl: isolating to web.service failed\n" + kSystemd + "Operation refused.*"},
        {"run-in small.target -- sh -c '" + isActive + "'", 143,
         "active\nmerosystemctl: interrupted: [^\n]*\nmerosystemctl: sh: exit code 143\n"},
        {"run-in web -- true", 4, "merosystemctl: web.target: there is no such target\n"},
        {"run-in network.target -- true", 1, "merosystemctl: network.target: [^\n]*AllowIsolate=no.\n"},
    });
    EXPECT_EQ(Shell("systemctl is-active small.target multi-user.target").output, "inactive\nactive\n");
}

TEST_F(Merosystemctl, UnmountsVolumesMovesAndKills)
{
    Unit("user.service",
         "[Service]\nExecStart=/bin/sleep infinity\nWorkingDirectory=/vol1\n[X-Tarvix]\nVolumeDependency=partial\n");
    Unit("bulk.slice", "[Slice]\n[X-Tarvix]\nSliceKillTimeoutSec=1\n");
    Unit("bulk-deep.slice", "[Slice]\n");
    Unit("deep.service", "[Service]\nSlice=bulk-deep.slice\nExecStart=/bin/sleep infinity\n");
    Unit("stubborn.service", "[Service]\nSlice=bulk.slice\nKillMode=none\nExecStart=/bin/sh -c "
                             "'trap \"echo asked >> /run/asked\" TERM; : > /run/asked; while :; do sleep 0.1; done'\n");
    Load();
    Shell("mkdir -p /vol1 /vol3; mount -t tmpfs tmpfs /vol1; touch /vol1/file; "
          "systemctl start user bulk.slice; systemd-run --scope --unit=holder sleep infinity < /vol1/file > /dev/null "
          "2>&1 &");
    EXPECT_TRUE(Reaches("holder.scope", "active"));
    const std::string kStopping = "stopping: user.service\n", kAgain = "running again: user.service\n";
    const std::string kHolder =
        "merosystemctl: in use by process [0-9]+ \\(sleep\\), fd: /vol1/file\n  -> kill [0-9]+\n";
    const std::string kInSlice = " -- grep -c ':/bulk.slice' /proc/self/cgroup";
    const std::string kNoMove = "merosystemctl: moving to [a-z]*.slice failed\n.*";
    const bool isAlone = !HasMonitor(); // only systemd's hierarchy exists
    Shell(isAlone ? "true" : "mkdir /sys/fs/cgroup/meromonitor/bulk.slice");
    Expect({
        {"volume unmount /vol1", 1, kHolder + "merosystemctl: nothing was stopped: [^\n]*\n"},
        {"volume unmount --force /vol1", 32,
         kHolder + kStopping + "umount: [^\n]*\n" + kHolder + kAgain + "merosystemctl: umount: exit code 32\n"},
        {"stop holder.scope", 0, ""},
        {"volume unmount /vol1", 0, kStopping + kAgain},
        {"volume unmount /vol1 -- sh -c 'rm /run/systemd/system/user.service; systemctl daemon-reload'", 1,
         kStopping + "merosystemctl: user.service: does not run again: it is inactive, [^\n]*\n.*"},
        {"volume unmount /vol3 -- false", 1, "no service stops\nmerosystemctl: false: exit code 1\n"},
        {"start web deep stubborn", 0, ""},
        {"cgroup show $(systemctl show --value -p MainPID web)", 0, "Unit +web.service\n.*"},
        {"cgroup show $$", 0, "Unit +-\nsystemd +/(mero-sandbox)?\nmeromonitor +[-/]\n"},
        {"cgroup show 1", 0, "Unit +init.scope\nsystemd +/init.scope\nmeromonitor +[-/]\n"},
        {"cgroup move bulk.slice" + kInSlice, 0, isAlone ? "1\n" : "2\n"},
        {"cgroup move --monitor-only bulk.slice" + kInSlice, isAlone ? 1 : 0, isAlone ? kNoMove : "1\n"},
        {"cgroup move bulk.slice -- " MEROSYSTEMCTL " cgroup move --root" + kInSlice, isAlone ? 1 : 0,
         isAlone ? "0\n" : "1\n"},
        {"cgroup move none.slice -- true", 1, kNoMove},
        {"slice kill bulk.slice", 0, "stopping its units\n.*bulk.slice: killed\n"},
        {"status deep stubborn web", 3,
         "UNIT .*\ndeep +loaded +inactive .*\nstubborn +loaded +inactive .*\nweb +loaded +active .*"},
        {"slice kill none.slice", 4, "merosystemctl: none.slice: there is no such slice\n"},
        {"slice show none.slice", 4, "merosystemctl: none.slice: there is no such slice\n"},
        {"volume register /vol1 --unit none", 4, "merosystemctl: none: [^\n]*there is no such unit\n"},
        {"slice kill bulk.slice", 0, "bulk.slice: nothing runs there in systemd's hierarchy\n"},
    });
    EXPECT_EQ(Shell("cat /run/asked").output, "asked\n");
    EXPECT_THAT(Shell("systemd-run --quiet --pipe --slice=bulk.slice " MEROSYSTEMCTL " slice kill bulk.slice").output,
                HasSubstr("bulk.slice is not killed: this process runs in it"));
    Shell("rmdir /sys/fs/cgroup/meromonitor/bulk.slice");
}

} // namespace
