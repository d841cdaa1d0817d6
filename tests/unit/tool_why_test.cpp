#include "support/program.h"

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

using Why = Program;

TEST_F(Why, TellsEveryCause)
{
    const std::string unit = "Id=a.service\nLoadState=loaded\nUnitFileState=enabled\nActiveState=inactive\n"
                             "SubState=dead\nResult=success\n";
    const std::string failed = "ActiveState=failed\nResult=", to = "\n            -> ", why = to + "merosystemctl why ";
    const std::string event = R"("__REALTIME_TIMESTAMP":"1795000000999999","MESSAGE":"It stopped."})";
    const std::string started = R"({"MESSAGE_ID":"39f53479d3a045ac8e11786248231fbf",)";
    const std::string ran = started + R"("INVOCATION_ID":"7",)" + event;
    const std::string told = "Wed 2026-11-18 11:06:40 UTC: It stopped.";
    SetUnits({{"m.service", "Id=m.service\nLoadState=masked\nActiveState=inactive\n"},
              {"n.service", "Id=n.service\nLoadState=not-found\nActiveState=inactive\n"},
              {"deep.service", "Id=deep.service\nLoadState=loaded\nActiveState=inactive\nRequires=a.service "
                               "deep.service\nRequisite=f.service\nBindsTo=r.service\n"},
              {"f.service", "Id=f.service\nLoadState=loaded\nActiveState=failed\nResult=exit-code\nExecMainCode=1\n"
                            "ExecMainStatus=3\n"},
              {"r.service", "Id=r.service\nLoadState=loaded\nActiveState=active\nRequires=m.service\n"},
              {"s.service", "Id=s.service\nLoadState=loaded\nActiveState=activating\n"},
              {"unmount-volume-begin.target", "Id=unmount-volume-begin.target\nActiveState=active\n"}});
    struct Case {
        std::string properties, causes, journal = "", file = "", text = "";
        int exitCode = 3;
    };
    const Case cases[] = {
        {"", ""},
        {"LoadState=not-found", "", "", "", "", 4},
        {"ActiveState=active\nSubState=running\nConflicts=r.service", "", event, "", "", 0},
        {"ActiveState=reloading", "", "", "", "", 0},
        {"LoadState=masked\nUnitFileState=masked",
         "masked      it cannot be started" + to + "merosystemctl unmask a.service\n"},
        {"LoadState=masked\nUnitFileState=masked-runtime\nTriggeredBy=a.socket",
         "masked      it cannot be started" + to + "merosystemctl unmask --runtime a.service\n"},
        {"LoadState=bad-setting\nLoadError=no word\nUnitFileState=disabled",
         "unit file   bad-setting: no word" + to + "systemd-analyze verify a.service\n"},
        {"LoadState=stub", ""},
        {"LoadState=merged", ""},
        {"UnitFileState=disabled", "disabled    it is not started at boot" + to + "merosystemctl enable a.service\n"},
        {"TriggeredBy=a.socket", "triggered   it is started by a.socket, when that wants it\n"},
        {"Job=7", "job         start waiting, number 7" + to + "systemctl list-jobs --after a.service\n", "",
         "/run/jobs", "7 a.service start waiting\n"},
        {"Job=7\nActiveState=active", "job         stop running, number 7\n", "", "/run/jobs",
         "7 a.service stop running\n", 0},
        {"", "", "", "/run/jobs", "7 a.service stop running\n"},
        {failed + "start-limit-hit",
         "failed      result start-limit-hit" + to + "merosystemctl reset-failed a.service\n", "", "", "", 1},
        {failed, "failed      result unknown" + to + "journalctl --unit=a.service\n", "", "", "", 1},
        {failed + "signal\nExecMainCode=2\nExecMainStatus=9",
         "failed      result signal: its main process was ended by SIGKILL" + to + "journalctl --unit=a.service\n", "",
         "", "", 1},
        {"Result=core-dump\nExecMainCode=3\nExecMainStatus=11",
         "failed      result core-dump: its main process was ended by SIGSEGV" + to + "journalctl --unit=a.service\n"},
        {"Result=exit-code\nExecMainCode=1\nExecMainStatus=0",
         "failed      result exit-code" + to + "journalctl --unit=a.service\n"},
        {"Requires=m.service\nRequisite=n.service r.service s.service",
         "dependency  m.service is masked" + why + "m.service\ndependency  n.service is not-found" + why +
             "n.service\n"},
        {"BindsTo=deep.service",
         "dependency  f.service failed, result exit-code: its main process ended with exit\n"
         "            code 3" +
             why + "f.service\n",
         R"({"JOB_RESULT":"dependency",)" + event},
        {"Conflicts=r.service f.service\nConflictedBy=s.service",
         "conflict    r.service runs" + to + "merosystemctl stop r.service\nconflict    s.service runs" + to +
             "merosystemctl stop s.service\n"},
        {"ConflictedBy=unmount-volume-begin.target",
         "volume      stopped while a volume is being unmounted; it will be restarted\n"
         "            afterwards\n"},
        {"", "volume      stopped by an unmount of /v that was interrupted" + to + "merosystemctl volume recover\n", "",
         "/run/merosystemd/volume-unmount.json", R"({"volumes":["/v"],"units":["a.service"]})"},
        {"", "isolation   the machine is being isolated to b.target\n", "", "/run/merosystemd/isolate-state",
         "target=b.target\npid=1\n"},
        {"", "support     this machine lacks the capability that it is made for\n", "",
         "/usr/lib/systemd/system/a.service", "[X-Tarvix]\nSupportKey=zfs\n"},
        {"", "last event  " + told + "\n", "{" + event},
        {"", "last event  " + told + "\n", R"({"JOB_RESULT":"dependency",)" + event},
        {"", "condition   " + told + "\n", R"({"JOB_RESULT":"assert",)" + event},
        {"", "condition   " + told + "\n", started + R"("INVOCATION_ID":"",)" + event},
        {"", "condition   " + told + "\n", ran + "\n" + ran},
        {"", "last event  " + told + "\n", R"({"INVOCATION_ID":"7",)" + event + "\n" + ran},
        {"", "", "[]"},
        {"", "", "{"},
        {"", "", R"({"MESSAGE":"It stopped."})"},
        {"", "", R"({"MESSAGE":[1],"__REALTIME_TIMESTAMP":"1"})"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.properties + c.journal + c.file);
        Write("/run/units/a", unit + c.properties + (c.properties.empty() ? "" : "\n"));
        Write("/run/event", c.journal);
        WriteProgram("/usr/bin/journalctl",
                     "case \"$*\" in *=json*ID=39f*ID=be02*ID=9d1*ID=7ad*ID=d9b*) cat /run/event;; esac");
        c.file.empty() ? void() : Write(c.file, c.text);
        const ShellResult result = Tool("why a");
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_THAT(result.output, c.exitCode == 4   ? StartsWith("merosystemctl: a: there is no such unit\n")
                                   : c.exitCode == 0 ? StartsWith("a.service runs: ")
                                                     : StartsWith("a.service does not run: "));
        EXPECT_EQ(result.output.substr(result.output.find('\n') + 1), c.causes);
        fs::remove(c.file);
    }
    const std::string journal = "--no-pager --quiet --boot --unit=a.service --lines=";
    const std::string reason = "/run/merosystemd/reasons/a.service/r";
    Write("/run/units/a", unit + "StateChangeTimestamp=Mon\n");
    WriteProgram("/usr/bin/journalctl", "echo \"$*\" | sed 's/MESSAGE_ID=.*//'; env | grep -E '^(SYSTEMD|COLUMNS)'");
    Write(reason, ""), Shell("touch -d @1795000000 " + reason);
    EXPECT_EQ(Shell("SYSTEMD_COLORS=1 COLUMNS=9 " + kTool + "why a | sed 's/([0-9]* days)/(n days)/'").output,
              "a.service does not run: inactive (dead) since Mon\n"
              "held        by the reason r since Wed 2026-11-18 11:06:40 UTC (n days)" +
                  to + "merosystemctl reason release r a.service\n" + journal + "5 --output=short --no-hostname\n");
}

TEST_F(Why, IsToldOfUnitsThatAreNotAsWantedASecondLater)
{
    const std::string zero = "NRestarts=0\n", active = "ActiveState=active\nSubState=running\n" + zero;
    const std::string dead = "ActiveState=inactive\nSubState=dead\nResult=success\n" + zero;
    const std::string failed = "ActiveState=failed\nSubState=failed\n" + zero;
    for (const auto& [unit, properties] : {std::pair("good", active),
                                           {"rereads", "ActiveState=reloading\nSubState=reloading\n" + zero},
                                           {"done", dead + "Type=oneshot\n"},
                                           {"skipped", dead + "Type=oneshot\n"},
                                           {"dead", dead},
                                           {"failed", failed},
                                           {"ill", failed + "Type=oneshot\n"},
                                           {"reborn", "NRestarts=1\n" + active},
                                           {"again", "ActiveState=activating\nSubState=auto-restart\n" + zero}}) {
        SetUnits({{unit, properties + "Id=" + unit + ".service\nLoadState=loaded\n"}});
    }
    WriteProgram(
        "/usr/bin/journalctl",
        "case \"$*\" in *=skipped*=json*) echo '{\"MESSAGE_ID\":\"39f53479d3a045ac8e11786248231fbf\",\"MESSAGE\":\""
        "x\",\"__REALTIME_TIMESTAMP\":\"1\"}';; *=json*) ;; *) echo a line;; esac");
    const std::string all = " --verify good rereads done skipped dead failed ill reborn again > /run/$v 2>&1; ";
    EXPECT_EQ(
        Shell("for v in start try-restart stop; do { " + kTool + "$v" + all + "echo $? >> /run/$v; } & done; " + kTool +
              "start --verify good done; wait; cd /run; grep -c '^  a line$' start; sed -n 's/^mero[^ ]* //p; /^.$/p' "
              "start try-restart stop")
            .output,
        "5\nskipped: started, but one second later it was inactive (dead)\n"
        "dead: started, but one second later it was inactive (dead)\n"
        "failed: started, but it had failed one second later\nill: started, but it had failed one second later\n"
        "reborn: started, but systemd had to start it again within one second\n"
        "again: started, but one second later it was activating (auto-restart)\n1\n"
        "failed: started, but it had failed one second later\nill: started, but it had failed one second later\n"
        "reborn: started, but systemd had to start it again within one second\n"
        "again: started, but one second later it was activating (auto-restart)\n1\n"
        "good: stopped, but one second later it was active (running)\n"
        "rereads: stopped, but one second later it was reloading (reloading)\n"
        "reborn: stopped, but one second later it was active (running)\n"
        "again: stopped, but one second later it was activating (auto-restart)\n1\n");
}

} // namespace
