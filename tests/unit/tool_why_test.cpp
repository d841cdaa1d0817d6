#include "support/program.h"

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

using Why = Program;

/// A journal line about a.service, as JSON; `fields` come first.
std::string Entry(const std::string& fields, const std::string& message = R"("It stopped.")")
{
    return "{" + fields + R"("UNIT":"a.service","SYSLOG_IDENTIFIER":"systemd","_PID":"1",)" +
           R"("__REALTIME_TIMESTAMP":"1795000000999999","MESSAGE":)" + message + "}\n";
}

TEST_F(Why, NamesEveryCause)
{
    const std::string unit = "Id=a.service\nLoadState=loaded\nUnitFileState=enabled\nActiveState=inactive\n"
                             "SubState=dead\nResult=success\n";
    const std::string failed = "ActiveState=failed\nResult=", to = "\n            -> ", why = to + "merosystemctl why ";
    const std::string journal = to + "journalctl --unit=a.service\n", log = "Nov 18 11:06:40 systemd[1]: It stopped.\n";
    const std::string ofMid = "dependency  f.service failed, result exit-code: its main process ended with exit\n"
                              "            code 203/EXEC (the program cannot be run) (needed by mid.service)" +
                              why + "f.service\n";
    const std::string stopping = R"("MESSAGE_ID":"de5b426a63be47a7b6ac3eaac82e2f6f",)";
    const std::string started = R"("MESSAGE_ID":"39f53479d3a045ac8e11786248231fbf",)";
    const std::string stopped = R"("MESSAGE_ID":"9d1aaa27d60140bd96365438aad20286",)";
    const std::string skipped = R"("MESSAGE_ID":"0e4284a0caca4bfc81c0bb6786972673",)";
    const std::string ran = started + R"("INVOCATION_ID":"7",)";
    const std::string condition = "condition   It stopped.\n";
    const std::string isolated = "isolation   the machine ", back = to + "merosystemctl isolate default.target\n";
    const auto command = [](const std::string& path, const std::string& end, const std::string& ignored = "no") {
        return "{ path=" + path + " ; argv[]=x code=exited ; status=1 ; ignore_errors=" + ignored + " ; " + end + " }";
    };
    const auto later = [](int seconds, const std::string& message) { // than a stop at 999999 microseconds
        return message + R"(,"__REALTIME_TIMESTAMP":")" + std::to_string(1795000000 + seconds) + "999999\"";
    };
    const auto own = [](const std::string& message) { return message + R"(,"UNIT":"","_SYSTEMD_UNIT":"a.service")"; };
    const std::string tooQuick = "\"It is repeated too quickly.\"";
    const std::string good = command("/bin/good", "code=exited ; status=0");
    const std::string down = "LoadState=loaded\nActiveState=inactive\n";
    SetUnits({{"m.service", "LoadState=masked\nActiveState=inactive\nRequires=f.service\n"},
              {"n.service", "LoadState=not-found\nActiveState=inactive\n"},
              {"deep.service", down + "Requires=a.service deep.service\nRequisite=f.service\nBindsTo=r.service\n"},
              {"f.service", "LoadState=loaded\nActiveState=failed\nResult=exit-code\nExecMainCode=1\n"
                            "ExecMainStatus=203\n"},
              {"r.service", "LoadState=loaded\nActiveState=active\nRequires=m.service\n"},
              {"s.service", "LoadState=loaded\nActiveState=activating\n"},
              {"again.service", "LoadState=loaded\nActiveState=activating\nSubState=auto-restart\nResult=signal\n"},
              {"down.service", down},
              {"over.service", down + "BindsTo=down.service\n"},
              {"held.service", down},
              {"d.device", down},
              {"e.device", down},
              {"mid.service", down + "Requires=f.service\n"},
              {"unmount-volume-begin.target", "ActiveState=active\n"}});
    Write("/run/merosystemd/reasons/held.service/h", ""), Shell("touch -d @1 /run/merosystemd/reasons/held.service/h");
    Write("/run/merosystemd/reasons/held.service/.h", "");
    Write("/run/down",
          Entry("", R"("Older.","UNIT":"down.service")") + Entry(stopped, R"("Stopped.","UNIT":"down.service")"));
    WriteProgram("/usr/bin/journalctl",
                 "for word; do case $word in --unit=a) cat /run/event;; --unit=down.service) cat "
                 "/run/down;; esac; done");
    std::string everywhere = "PartOf="; // what nearly every unit depends on
    for (const std::string name :
         {"sysinit.target", "basic.target", "shutdown.target", "umount.target", "system.slice", "user.slice", "-.slice",
          "-.mount", "app.slice", "session.slice", "background.slice"}) {
        SetUnits({{name, "LoadState=loaded\nActiveState=failed\n"}});
        everywhere += name + " ";
    }
    const std::string again = "Nov 18 11:06:40 systemd[1]: It is repeated too quickly.\n";
    struct Case {
        std::string properties, causes, journal = "", file = "", text = "";
        int exitCode = 3;
    };
    std::vector<Case> cases = {
        {"", ""},
        {"LoadState=not-found", "", "", "", "", 4},
        {"ActiveState=active\nSubState=running\nConflicts=r.service", "", Entry(""), "", "", 0},
        {"ActiveState=reloading\nNeedDaemonReload=yes",
         "changed     its files have changed since systemd read them" + to + "merosystemctl daemon-reload\n", "", "",
         "", 0},
        {"LoadState=masked\nUnitFileState=masked",
         "masked      it cannot be started" + to + "merosystemctl unmask a.service\n"},
        {"LoadState=masked\nUnitFileState=masked-runtime\nTriggeredBy=a.socket",
         "masked      it cannot be started" + to + "merosystemctl unmask --runtime a.service\n"},
        {"LoadState=bad-setting\nLoadError=no word\nUnitFileState=disabled",
         "unit file   bad-setting: no word" + to + "systemd-analyze verify a.service\n"},
        {"LoadState=stub", ""},
        {"LoadState=merged", ""},
        {"UnitFileState=disabled", "disabled    it is not started at boot" + to + "merosystemctl enable a.service\n"},
        {"UnitFileState=disabled\nTriggeredBy=a.socket", "triggered   started on demand by a.socket\n"},
        {"RefuseManualStart=yes\nRequiredBy=\"x\\\\x2da.target\"\nWantedBy=y.target",
         "refused     it cannot be started by hand (RefuseManualStart=yes); it starts with\n"
         "            x\\x2da.target y.target\n"},
        {"Job=7", "job         start waiting, number 7" + to + "systemctl list-jobs --after a.service\n", "",
         "/run/jobs", "7 a.service start waiting\n"},
        {"Job=7\nActiveState=active", "job         stop running, number 7\n", "", "/run/jobs",
         "7 a.service stop running\n", 0},
        {"", "", "", "/run/jobs", "7 a.service stop running\n"},
        {failed + "start-limit-hit\nExecMainCode=2\nExecMainStatus=15\nStartLimitBurst=5\nStartLimitIntervalUSec=10s",
         "failed      result start-limit-hit" + journal + "start limit started too often (5 times in 10s are allowed)" +
             to + "merosystemctl reset-failed a.service\n",
         "", "", "", 1},
        {failed + "exit-code\nExecMainCode=1\nExecMainStatus=3",
         "failed      result exit-code: its main process ended with exit code 3" + journal +
             "start limit started too often" + to +
             "merosystemctl reset-failed a.service\nNov 18 11:06:40 systemd[1]: It stopped.\n"
             "Nov 18 11:06:40 systemd[1]: It is repeated too quickly.\n",
         Entry(ran) + Entry("", R"("It is repeated too quickly.")"), "", "", 1},
        {failed, "failed      result unknown" + journal, "", "/run/units/rescue.target", "ActiveState=active\n", 1},
        {failed, "failed      result unknown" + journal + again + log + again,
         Entry("", tooQuick) + Entry(ran) + Entry(skipped, own(tooQuick)), "", "", 1},
        {failed + "signal\nExecMainCode=2\nExecMainStatus=9",
         "failed      result signal: its main process was ended by SIGKILL" + journal, "", "", "", 1},
        {"Result=core-dump\nExecMainCode=3\nExecMainStatus=11\nExecStart=" +
             command("/bin/bad", "code=dumped ; status=11/SEGV"),
         "failed      result core-dump: ExecStart=/bin/bad was ended by SIGSEGV" + journal},
        {"Result=exit-code\nExecMainCode=1\nExecMainStatus=0", "failed      result exit-code" + journal},
        {failed + "exit-code\nExecStartPre=" + good +
             "\nExecStartPre=" + command("/bin/may", "code=exited ; status=1", "yes") +
             "\nExecStartPre=" + command("/bin/bad", "code=exited ; status=217") +
             "\nExecStart=" + command("/bin/late", "code=killed ; status=9/KILL"),
         "failed      result exit-code: ExecStartPre=/bin/bad ended with exit code\n"
         "            217/USER (its user does not exist or cannot be taken)" +
             journal,
         "", "", "", 1},
        {"SubState=auto-restart\nNRestarts=4\nResult=signal\nExecStart=" +
             command("/bin/late", "code=killed ; status=9/KILL"),
         "restarting  again and again, 4 times so far: result signal: ExecStart=/bin/late\n"
         "            was ended by SIGKILL" +
             journal},
        {"Requires=m.service d.device\nRequisite=n.service r.service s.service down.service\nPartOf=deep.service "
         "e.device",
         "dependency  m.service is masked" + why +
             "m.service\ndependency  d.device is missing\ndependency  n.service does not exist" + why +
             "n.service\ndependency  down.service does not run, and must run before (Requisite=)\n"
             "            Nov 18 11:06:40 systemd[1]: Stopped." +
             to + "merosystemctl start down.service\n"},
        {"Requires=again.service held.service over.service",
         "dependency  again.service is restarted again and again, result signal" + why +
             "again.service\ndependency  held.service is held by the reason h since Thu 1970-01-01 00:00:01\n"
             "            UTC (n days)" +
             to + "merosystemctl reason release h held.service\n"},
        {"Requires=s.service\nJob=7",
         "job         start waiting, number 7" + to +
             "systemctl list-jobs --after a.service\ndependency  s.service is still starting" + why + "s.service\n",
         "", "/run/jobs", "7 a.service start waiting\n"},
        {"BindsTo=deep.service", "dependency  f.service failed, result exit-code: its main process ended with exit\n"
                                 "            code 203/EXEC (the program cannot be run) (needed by deep.service)" +
                                     why + "f.service\n"},
        {"PartOf=down.service",
         "dependency  down.service was stopped at the same time (PartOf=)\n"
         "            Nov 18 11:06:40 systemd[1]: Stopped." +
             to + "merosystemctl start down.service\n" + log,
         Entry(stopped)},
        {"PartOf=down.service",
         "dependency  down.service was stopped at the same time (PartOf=)\n"
         "            Nov 18 11:06:40 systemd[1]: Stopped." +
             to + "merosystemctl start down.service\nNov 18 11:06:41 systemd[1]: x\n" +
             "Nov 18 11:06:42 systemd[1]: y\n",
         Entry(stopping, later(1, "\"x\"")) + Entry(stopped, later(2, "\"y\""))},
        {"PartOf=down.service", "Nov 18 11:06:42 systemd[1]: x\n",
         Entry(stopping, R"("x","UNIT":"down.service")") + Entry(stopped, later(2, "\"x\""))},
        {"PartOf=down.service", "Nov 18 11:06:38 systemd[1]: x\n", Entry(stopped, later(-2, "\"x\""))},
        {"Requisite=mid.service", ofMid},
        {"PartOf=mid.service", ofMid + log, Entry(stopped, R"("Stopped.","UNIT":"mid.service")") + Entry(stopped)},
        {"Requires=down.service", log, Entry("")},
        {everywhere, ""},
        {"Conflicts=r.service f.service\nConflictedBy=s.service",
         "conflict    r.service is running" + to + "merosystemctl stop r.service\nconflict    s.service is running" +
             to + "merosystemctl stop s.service\n"},
        {"ConflictedBy=unmount-volume-begin.target",
         "volume      stopped while a volume is being unmounted; it will be restarted\n"
         "            afterwards\n"},
        {"", "volume      stopped by an unmount of /v that was interrupted" + to + "merosystemctl volume recover\n", "",
         "/run/merosystemd/volume-unmount.json", R"({"volumes":["/v"],"units":["a.service"]})"},
        {"", isolated + "is being isolated to b.target\n", "", "/run/merosystemd/isolate-state",
         "target=b.target\npid=1\n"},
        {"", "isolation   an isolation to b.target was interrupted (PID 4194304 is gone)" + back, "",
         "/run/merosystemd/isolate-state", "target=b.target\npid=4194304\n"},
        {"", isolated + "is in rescue.target" + back, "", "/run/units/rescue.target", "ActiveState=active\n"},
        {"", isolated + "is in emergency.target" + back, "", "/run/units/emergency.target", "ActiveState=active\n"},
        {"", "", "", "/run/units/default.target", "ActiveState=inactive\nActiveExitTimestampMonotonic=0\n"},
        {"", isolated + "has left default.target, its default target" + back, "", "/run/units/default.target",
         "ActiveState=inactive\nActiveExitTimestampMonotonic=5\n"},
        {"", "", "", "/run/units/default.target", "ActiveState=inactive\nActiveExitTimestampMonotonic=5\nJob=1\n"},
        {"", "support     not supported on this platform\n", "", "/usr/lib/systemd/system/a.service",
         "[X-Tarvix]\nSupportKey=zfs\n"},
        {"", log, // systemd-coredump's message, which has no identifier
         Entry("", R"("It stopped.","UNIT":"","COREDUMP_UNIT":"a.service","SYSLOG_IDENTIFIER":"","_COMM":"systemd")")},
        {"", condition, Entry(stopped + R"("JOB_RESULT":"assert",)")},
        {"", condition, Entry(started + R"("INVOCATION_ID":"",)")},
        {"", condition, Entry(ran) + Entry(ran)},
        {"", log, Entry(R"("USER_INVOCATION_ID":"7",)" + started)},
        {"", log + log,
         Entry(started) + Entry(R"("MESSAGE_ID":"be02cf6855d2428ba40df7e9d022f03d",)")}, // its job failed
        {"", log + log, Entry(started) + Entry(R"("MESSAGE_ID":"7ad2d189f7e94e70a38c781354912448",)")}, // it succeeded
        {"", log + log, Entry(started) + Entry(R"("MESSAGE_ID":"d9b373ed55a64feb8242e02dbe79a49c",)")}, // it failed
        {"", log, Entry("", R"("It stopped.","UNIT":"","USER_UNIT":"a.service")")},
        {"", log, Entry("", R"("It stopped.","UNIT":"","_SYSTEMD_USER_UNIT":"a.service")")},
        {"", log, Entry("", R"("It stopped.","UNIT":"","_SYSTEMD_SLICE":"a.service")")},
        {"", condition + "Nov 18 11:06:40 systemd[1]: x\n", Entry(started) + Entry("", "\"x\"")}, // x is no event
        {"", condition, Entry(skipped) + Entry(started)},
        {"ExecCondition=" + good, "condition   skipped: ExecCondition=/bin/good was not met\n",
         Entry(skipped) + Entry(started)},
        {"", log + log, Entry(stopped + R"("INVOCATION_ID":"7",)") + Entry(ran)},
        {"", "Nov 18 11:06:40 systemd[1]: a?é\nb\n", Entry("", R"([97,27,195,169,10,98])")},
        {"", "Nov 18 11:06:40 systemd[1]: (a line of more than 4 KiB; journalctl shows it)\n", Entry("", "null")},
        {"", "", "[]\n{\n{\"MESSAGE\":\"x\"}\n"},
    };
    std::string failing = "Result=exit-code"; // the first in systemd's order is named
    for (const std::string setting : {"ExecStopPost", "ExecStop", "ExecStartPost", "ExecStart", "ExecStartPre",
                                      "ExecCondition", "ExecActivate", "ExecMount"}) {
        failing += "\n" + setting + "=" + command("/bin/x", "code=exited ; status=1");
        cases.push_back(
            {failing, "failed      result exit-code: " + setting + "=/bin/x ended with exit code 1" + journal});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(c.properties + c.journal + c.file);
        Write("/run/units/a", c.properties + (c.properties.empty() ? "" : "\n") + unit);
        Write("/run/event", c.journal);
        c.file.empty() ? void() : Write(c.file, c.text);
        const ShellResult result =
            Shell(kTool + "why a > /run/out 2>&1; c=$?; sed 's/([0-9]* days)/(n days)/' /run/out; exit $c");
        EXPECT_EQ(result.exitCode, c.exitCode);
        EXPECT_THAT(result.output, c.exitCode == 4   ? StartsWith("merosystemctl: a: there is no such unit\n")
                                   : c.exitCode == 0 ? StartsWith("a.service runs: ")
                                                     : StartsWith("a.service does not run: "));
        EXPECT_EQ(result.output.substr(result.output.find('\n') + 1), c.causes);
        fs::remove(c.file);
    }
}

TEST_F(Why, ShowsTheLastLinesOfSeveralUnits)
{
    SetUnits({{"a", "Id=a.service\nLoadState=loaded\nActiveState=failed\nSubState=failed\nStateChangeTimestamp=Mon\n"},
              {"b", "Id=b.service\nLoadState=loaded\nActiveState=inactive\nSubState=dead\n"},
              {"c", "Id=c.service\nLoadState=loaded\nActiveState=active\nSubState=running\n"},
              {"d", "Id=d.service\nLoadState=loaded\nActiveState=inactive\nSubState=dead\nRequires=a.service\n"},
              {"alias", "Id=a.service\nLoadState=loaded\nActiveState=failed\n"}});
    Write("/run/merosystemd/reasons/b.service/r", ""),
        Write("/run/merosystemd/volume-unmount.json", R"({"volumes":["/v"],"units":["d.service"]})");
    Otherwise(
        "[ $1 != list-units ] || printf 'UNIT      LOAD   ACTIVE SUB    DESCRIPTION\\na.service loaded failed failed "
        "A\\n'");
    std::string restarts = R"({"_SYSTEMD_UNIT":"a.service","SYSLOG_IDENTIFIER":"sh","_PID":"9",)"
                           R"("__REALTIME_TIMESTAMP":"1","MESSAGE":"no disk"})"
                           "\n";
    for (int i = 0; i < 9; ++i) {
        restarts += Entry("", "\"again\"");
    }
    Write("/run/event", restarts);
    WriteProgram("/usr/bin/journalctl", "echo $* >> /run/journal; env | grep -E '^(SYSTEMD|COLUMNS)'; cat /run/event");
    const std::string lines = Shell("SYSTEMD_COLORS=1 COLUMNS=9 " + kTool + "why").output;
    EXPECT_THAT(lines, MatchesRegex("a.service does not run: failed .failed. since Mon\nfailed .*\n.* sh.9.: no disk\n"
                                    "(Nov 18 11:06:40 systemd.1.: again\n){5}\nb.service does not run: .*\nheld .*\n"
                                    "d.service does not run: .*\nvolume .*recover\ndependency .*"));
    EXPECT_THAT(Read("/run/journal"), MatchesRegex("--no-pager --quiet --boot --output=json --lines=300 "
                                                   "--unit=a.service --unit=b.service --unit=d.service [^\n]*\n"));
    EXPECT_THAT((Write("/run/journal", ""), Tool("why alias"), Read("/run/journal")), HasSubstr("--unit=a.service "))
        << "the journal does not know aliases";
    EXPECT_THAT(Tool("why 'd e' c"), FieldsAre(1, AllOf(HasSubstr("cannot be asked"), HasSubstr("\nc.service runs"))));
    EXPECT_EQ(Shell(kTool + "why --json c a | jq -c 'map([.unit, .causes[].kind])'").output,
              "[[\"c.service\"],[\"a.service\",\"failed\"]]\n");
}

TEST_F(Why, IsPrintedForUnitsThatAreNotAsWantedASecondLater)
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
    const std::string rest = R"("__REALTIME_TIMESTAMP":"1"}')";
    WriteProgram("/usr/bin/journalctl",
                 R"(for word; do u=${word#--unit=}; u=${u%.service}.service; case $word in *=skipped*) )"
                 R"(echo '{"MESSAGE_ID":"39f53479d3a045ac8e11786248231fbf","UNIT":"'$u'","MESSAGE":"x",)" +
                     rest + R"(;; --unit=*) echo '{"UNIT":"'$u'","MESSAGE":"a line",)" + rest + ";; esac; done");
    const std::string all = " --verify good rereads done skipped dead failed ill reborn again > /run/$v 2>&1; ";
    EXPECT_EQ(
        Shell("for v in start try-restart stop; do { " + kTool + "$v" + all + "echo $? >> /run/$v; } & done; " + kTool +
              "start --verify good done; wait; cd /run; grep -c ': a line$' start; sed -n 's/^mero[^ ]* //p; /^.$/p' "
              "start try-restart stop")
            .output,
        "4\nskipped: started, but one second later it was inactive (dead)\n"
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
