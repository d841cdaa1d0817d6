#include "support/program.h"
#include "support/terminal.h"
#include "support/waiting.h"

#include <sys/mount.h>

using namespace MERO::Test;
using namespace ::testing;

namespace {

TEST_F(Program, RefusesWrongUsage)
{
    const std::string program = " -- nothing";
    const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
        // a fault, and commands that have it
        {"missing command: add release remove list", {"reason"}},
        {"UNIT is required", {"start", "--quiet start"}},
        {"UNIT: must not be empty", {"start ''", "enable a ''", "why ''", "show '' Id", "uninstall --yes ''"}},
        {"(REASON|SERVICE|TARGET|PATTERN|VOLUME): must not be empty",
         {"reason add '' a", "reason list ''", "default-target ''", "isolate ''", "list-units ''", "volume plan ''"}},
        {"there is no command dance", {"dance web"}},
        {"there is no command stauts\nDid you mean status.", {"stauts web"}},
        {"there is no command dsiabl\nDid you mean disable.", {"dsiabl web"}},
        {"there is no command tops", {"tops web"}},
        {"there is no command volume plna\nDid you mean plan.", {"volume plna /v"}},
        {"there is no command cat here. Use 'systemctl cat web'.", {"cat web", "--quiet cat web"}},
        {"unknown option -v", {"-v", "--no-legend -v", "start -v", "start web -v"}},
        {"unknown option -foo", {"-foo", "start -foo web"}},
        {"unknown option --systme\nDid you mean --system.", {"show --systme web Id"}},
        {"unexpected arguments: b c", {"info a b c"}},
        {"unexpected argument: b", {"jobs b"}},
        {"--system is not for start; it is for: show.*", {"start --system web", "--system start web"}},
        {"--timeout is not for jobs; it is for: start stop.*", {"jobs --timeout 3", "--timeout 3 jobs"}},
        {"SLICE is required; only --prometheus shows all slices", {"slice show"}},
        {"--sort: must be cpu, memory, input, output, pid or name", {"slice top --sort size"}},
        {"--json needs --dry-run", {"isolate --json a.target"}},
        {"--timeout: Value 0 not in range 1 to 86400", {"start --timeout 0 web"}},
        {"--verify excludes --no-block", {"start --verify --no-block web"}},
        {"missing command: run-in TARGET -- COMMAND...", {"run-in a.target"}},
        {"UNIT: app[*]: patterns do not work here; name the unit", {"uninstall --yes 'app*'"}},
        {"--unit: app[*]: .*", {"volume register /v --unit 'app*'"}},
        {"TARGET: app[*]: .*", {"isolate 'app*'", "run-in 'app*' -- true"}},
        {"'nfs A' is not a property name", {"show web 'nfs A'"}},
        {"--json goes after the command", {"--json show web Id"}},
        {"show takes UNIT PROPERTY, or .*", {"show web", "show web Id Names"}},
        {"--unit or --package is required", {"volume register /vol1"}},
        {"--unit: a name is missing", {"volume register /vol1 --unit ''"}},
        {"VOLUME: (vol1|/): a mount path begins with \"/\" and does not end with it",
         {"volume plan vol1", "volume plan /", "volume plan //"}},
        {"--interval: must be a positive number of seconds, a day at most",
         {"slice top --interval 0", "slice top --interval 86401", "slice top --interval 1s"}},
        {".+", {"reload --no-block web", "stop --irreversibly web", "restart --irreversibly web", "isolate"}},
        {".+", {"try-restart --irreversibly web", "reload-or-restart --irreversibly web", "start --dry-run web"}},
        {".+", {"default-target --offline", "default-target --json a", "volume unmount --json /v"}},
        {".+", {"cgroup show 0", "cgroup show 4194305", "process show 0", "slice top --count 0"}},
        {".+", {"volume register /v --unit a --package b", "cgroup move --root --monitor-only -- true"}},
    };
    for (const auto& [fault, commands] : cases) {
        for (const std::string& arguments : commands) {
            EXPECT_THAT(Tool(arguments),
                        FieldsAre(2, MatchesRegex("merosystemctl: " + fault + "\nTry 'merosystemctl .*--help'.\n")))
                << arguments;
        }
    }
    const std::vector<std::pair<std::string, std::vector<std::string>>> faultsOfCommands{
        {"nothing: there is no such program\n",
         {"run-in a.target" + program, "volume unmount /v" + program, "cgroup move a.slice" + program}},
        {"missing command: cgroup move SLICE -- COMMAND..., or --root in place of SLICE\n",
         {"cgroup move -- true", "cgroup move a.slice --root -- true", "cgroup move a.slice"}},
    };
    for (const auto& [fault, commands] : faultsOfCommands) {
        for (const std::string& arguments : commands) {
            EXPECT_THAT(Tool(arguments), FieldsAre(2, "merosystemctl: " + fault)) << arguments;
        }
    }
    EXPECT_TRUE(Calls().empty());
    const std::pair<std::string, std::vector<std::string>> limited[] = {
        {"--system ",
         {"show a Id", "is-active a", "is-enabled a", "is-failed a", "status a", "why a", "list-units",
          "list-unit-files"}},
        {"--timeout 9 ",
         {"start a", "stop a", "restart a", "try-restart a", "reload-or-restart a", "enable a", "disable a", "mask a",
          "reason add --no-protect r a", "reason release r a"}},
    };
    for (const auto& [option, commands] : limited) {
        for (const std::string& command : commands) {
            EXPECT_NE(Tool(option + command).exitCode, 2) << option << command;
        }
    }
    EXPECT_THAT(Tool("--version").output, MatchesRegex("merosystemctl [0-9.]+\n"));
    EXPECT_THAT(Tool("--help").output,
                AllOf(HasSubstr("  why  "), HasSubstr("  doctor  "), HasSubstr("Exit status:"),
                      HasSubstr("done; for several units"), HasSubstr("Examples:"), HasSubstr("  --timeout SECONDS  "),
                      Not(HasSubstr("complete")), Not(HasSubstr("\nCommands:")),
                      MatchesRegex(".*\nUnits:\n.*\nHolds:\n.*\nVolumes:\n.*\nManager:\n.*")));
    EXPECT_EQ(Tool("slice kill --help").output,
              "Stop the units of a slice and kill what is left\n"
              "Usage: merosystemctl slice kill [OPTIONS] SLICE\n\n"
              "Arguments:\n  SLICE               A slice such as system.slice\n\n"
              "Options:\n  -h,--help           Print this help and exit\n"
              "  --force             Kill even \"-.slice\" or the slice of this process\n\n");
    EXPECT_THAT(Tool("reason --help").output, HasSubstr("\nUsage: merosystemctl reason [OPTIONS] COMMAND\n"));
    const std::pair<std::string, std::string> notes[] = {{"volume unmount", "The default is umount VOLUME..."},
                                                         {"volume register", "pkgctl-NAME.service, must exist."},
                                                         {"slice top", "\n  x             kill the chosen slice"}};
    for (const auto& [command, note] : notes) {
        EXPECT_THAT(Tool(command + " --help").output, HasSubstr(note));
    }
    const std::string helps =
        "for c in '' start status why info jobs show list-units list-unit-files overview doctor default-target enable "
        "mask uninstall 'reason add' "
        "isolate run-in volume 'volume list' 'volume register' 'volume unmount' 'cgroup move' slice 'slice list' "
        "'slice show' 'slice kill' 'slice top' process 'process show'; do " MEROSYSTEMCTL
        " $c --help > /run/help || echo $c; "
        "grep -E '.{81}' /run/help; done";
    EXPECT_EQ(Shell(helps).output, "") << "80 columns are enough";
}

TEST_F(Program, RunsTheCommandsThroughSystemctl)
{
    std::map<std::string, std::string> cases{
        {"start --irreversibly --no-block a", "start --job-mode=replace-irreversibly --no-block a"},
        {"reload a", "reload --no-block a"},
        {"enable --offline --runtime a", "enable --root=/. --runtime a"},
        {"reenable --offline a", "disable --root=/. a, enable --root=/. a"},
        {"mask a b", "mask a, mask b"},
        {"mask --offline --runtime a b", "mask --root=/. --runtime a, mask --root=/. --runtime b"},
        {"unmask --offline a", "unmask --root=/. a"},
        {"default-target a.target", "set-default a.target"},
        {"default-target --offline a.target", "set-default --root=/. a.target"},
        {"reason add --no-protect other a", "stop a, daemon-reload"},
        {"enable --now a", "enable a, start a"},
        {"mask --now --runtime a", "mask --runtime a, stop a"},
        {"reason remove r a", "reset-failed a"},
        {"reason release other a", "reset-failed a, start a, daemon-reload"},
    };
    for (const char* same : {"start a b", "start --no-block a", "stop a", "stop --no-block a", "restart a",
                             "try-restart a", "reload-or-restart --no-block a", "enable a b", "disable --runtime a",
                             "reenable a", "mask --runtime a", "unmask a", "unmask --runtime a", "reset-failed a b",
                             "daemon-reload", "isolate --no-block a.target", "isolate a.target"}) {
        cases[same] = same;
    }
    for (const auto& [arguments, expected] : cases) {
        const std::string output =
            arguments.starts_with("isolate") ? "isolated to a.target; everything it stops has stopped\n" : "";
        EXPECT_THAT(Tool(arguments), FieldsAre(0, output)) << arguments;
        std::string calls;
        for (const std::string& call : Calls()) {
            const bool isQuery = call.starts_with("list-jobs") || call.starts_with("show");
            calls += isQuery ? "" : (calls.empty() ? "" : ", ") + call;
        }
        EXPECT_EQ(calls, expected) << arguments;
    }
}

TEST_F(Program, StartsCommandsFromThePathAndPassesSignalsOn)
{
    WriteProgram("/run/here/there", "");
    WriteProgram("/run/bin/tool", "");
    Write("/run/bin/text", "");
    fs::create_directories("/run/bin/folder");
    // A PATH, in which an empty folder means the current one, and a command. A command with a "/" is not searched.
    const std::pair<int, std::vector<std::string>> exitCodes[] = {
        {0, {"/nowhere:/run/bin tool", "/run/here ../bin/tool", ":/run/bin there", "/run/bin::/nowhere there"}},
        {0, {"/run/bin: there", "'' there"}},
        {2, {"/nowhere tool", "/run bin/tool", "/run/bin text", "/run/bin folder", "/run/bin there", "/run/bin ''"}},
    };
    const std::string call = "; PATH=$1 exec " MEROSYSTEMCTL " run-in a.target -- \"$2\"";
    for (const auto& [exitCode, cases] : exitCodes) {
        for (const std::string& words : cases) {
            EXPECT_EQ(Shell("cd /run/here; set -- " + words + call).exitCode, exitCode) << words;
        }
    }
    EXPECT_EQ(Shell("unset PATH; " MEROSYSTEMCTL " run-in a.target -- true").exitCode, 0) << "as in exec(3)";
    const std::string run = "run-in a.target -- sh -c ", ended = "merosystemctl: sh: exit code ";
    const std::string back = "merosystemctl: interrupted: isolating back to default.target\n";
    EXPECT_THAT(Tool(run + "'trap \"exit 9\" TERM; kill -TERM $PPID; sleep 9 >&- 2>&- & wait'"),
                FieldsAre(9, back + ended + "9\n"));
    EXPECT_THAT(Tool(run + "'kill -KILL $$'"), FieldsAre(137, ended + "137\n"));
    Otherwise("[ $2 != a.target ] || kill -HUP $PPID");
    EXPECT_THAT(Tool(run + "'> /run/started'"), FieldsAre(129, back + "merosystemctl: interrupted: sh was not run\n"))
        << "it came before the command";
    EXPECT_FALSE(fs::exists("/run/started"));
}

TEST_F(Program, ReportsACommandThatCannotBeStarted)
{
    Write("/run/odd", "\x7f"
                      "ELF");
    fs::permissions("/run/odd", fs::perms::owner_all);
    EXPECT_THAT(Tool("run-in a.target -- /run/odd"),
                FieldsAre(127, HasSubstr("merosystemctl: /run/odd: Exec format error\n")));
}

TEST_F(Program, NamesWhatFailedAndSaysWhatToDo)
{
    SetUnits({{"a", "Id=a.service\nLoadState=loaded\nActiveState=failed\nResult=exit-code\n"},
              {"b", "Id=b.service\nLoadState=loaded\n"},
              {"x-a", "Id=x-a.service\nLoadState=loaded\n"},
              {"none", "Id=none.service\nLoadState=not-found\n"},
              {"gone.service", "Id=gone.service\nNames=gone.service\nLoadState=not-found\n"},
              {"pkgctl-gone.service", "Id=pkgctl-gone.service\nNames=pkgctl-gone.service\nLoadState=not-found\n"}});
    Otherwise(
        "for u; do case $u in -*|$1|good|default.target) ;; *) echo \"Job for $u.service failed.\"; code=1;; esac; "
        "done; exit $code");
    const std::string log = "  -> journalctl -t merosystemctl\n";
    const auto said = [](const std::string& unit) { return "  systemd     Job for " + unit + ".service failed.\n"; };
    const std::tuple<std::string, int, std::string> cases[] = {
        {"start none a", 4,
         "a: start failed\n  failed      result exit-code\n              -> journalctl --unit=a.service\n"
         "merosystemctl: none: start failed: there is no such unit\n"},
        {"stop none a b", 4,
         "a: stop failed\n" + said("a") + "merosystemctl: b: stop failed\n" + said("b") +
             "merosystemctl: none: stop failed: there is no such unit\n"},
        {"stop a a", 1, "a: stop failed\n" + said("a") + said("a")},
        {"stop none", 4, "none: stop failed: there is no such unit\n"},
        {"reset-failed a", 1, "a: reset-failed failed\n" + said("a")},
        {"enable 'x*'", 4, "x*: no unit file matches\n"},
        {"info none", 4, "none: no unit file of this name in the system's unit directories\n"},
        {"volume dependency none", 4, "none: there is no such unit file\n"},
        {"volume register /v --package none", 1, "none: volume register failed\n" + log},
        {"volume register /v --package gone", 4,
         "gone: volume register failed: there is no unit pkgctl-gone.service\n"},
        {"volume unregister /v --unit gone", 1, "gone: volume unregister failed\n" + log},
        {"volume register /v --unit gone", 4, "gone: volume register failed: there is no such unit\n"},
        {"volume unmount /run/none/", 1, "/run/none: is not mounted\n"},
        {"volume plan /run/none", 1, "/run/none: is not mounted\n"},
        {"reason add ../up a", 1,
         "a.service: a drop-in keeps it from starting until its last reason is gone\nmerosystemctl: a.service: the "
         "drop-in that kept it from starting is gone\nmerosystemctl: a: reason add failed\n"
         "  log         what merosystemctl did\n            " +
             log},
        {"reason add r none", 4, "none: reason add failed: there is no such unit\n"},
        {"reason release r b", 3, "b: it does not have the reason r\n"},
        {"process show 2147483647", 1, "2147483647: there is no such process, or it cannot be read\n"},
        {"cgroup show 4194304", 1, "4194304: there is no such process, or systemd has no cgroup for it\n"},
        {"slice show a", 4, "a: this slice is not tracked\n"},
        {"slice show --prometheus a", 4, "a: this slice is not tracked\n"},
        {"slice list", 3, "no slice is tracked\n"},
        {"slice top", 3, "no slice is tracked\n"},
        {"slice kill -- -.slice", 1, "-.slice is not killed: this process runs in it. --force kills it anyway\n"},
        {"slice kill a", 1, "killing a failed\n" + log},
        {"isolate-state", 3, "no isolation is going on\n"},
        {"run-in good -- echo --json -- --help", 0, "--json -- --help\n"},
    };
    for (const auto& [arguments, exitCode, output] : cases) {
        const std::string program = exitCode == 0 || arguments == "isolate-state" ? "" : "merosystemctl: ";
        EXPECT_THAT(Tool(arguments), FieldsAre(exitCode, program + output)) << arguments;
    }
    Write("/run/merosystemd/isolate-state", "");
    EXPECT_EQ(Tool("isolate-state").output,
              "merosystemctl: cannot read /run/merosystemd/isolate-state\n  -> merosystemctl isolate default.target\n");
    Write("/run/merosystemd/isolate-state", "target=a.target\npid=4000000\n");
    EXPECT_THAT(Tool("isolate-state"), FieldsAre(1, "merosystemctl: an isolation to a.target was interrupted (PID "
                                                    "4000000 is gone)\n  -> merosystemctl isolate default.target\n"))
        << "a killed isolation is reported";
    Write("/run/merosystemd/isolate-state", "target=a.target\npid=1\n");
    EXPECT_THAT(Tool("isolate-state"), FieldsAre(0, "isolating to a.target\n"));
    const ShellResult busy =
        Shell("mkdir -p /run/merosystemd/locks; flock /run/merosystemd/locks/volume-register.lock " + kTool +
              "volume register /v --unit a");
    EXPECT_THAT(busy, FieldsAre(5, "merosystemctl: a: volume register failed: another process holds a lock that it "
                                   "needs; try again later\n"));
    const std::string conf = "/usr/mero/etc/merosystemd/systemctl.conf", version = "echo 'systemd 257 (257.13-1)'";
    Write(conf, ""), SystemctlScript("[ \"$1\" != --version ] || " + version);
    EXPECT_EQ(Tool("daemon-reload").output,
              "merosystemctl: systemd 257 speaks the current dialect: put dialect=current into " + conf + "\n");
    EXPECT_EQ(Tool("complete -- daemon-r").output, "daemon-reload\n");
    Write(conf, "dialect=current\n"), Write("/usr/lib/systemd/libsystemd-shared-245.so", "");
    EXPECT_EQ(Tool("daemon-reload").output,
              "merosystemctl: systemd 245 does not speak the current dialect: take dialect=current out of " + conf +
                  "\n");
    fs::rename("/usr/lib/systemd/libsystemd-shared-245.so", "/usr/lib/systemd/libsystemd-shared-246.so");
    EXPECT_EQ(Tool("daemon-reload").output, "");
    fs::remove("/usr/lib/systemd/libsystemd-shared-246.so");
    const std::string cause = "  isolation   the machine is being isolated to a.target\n"
                              "  failed      result exit-code\n              -> journalctl --unit=a.service\n";
    // systemctl's output and the report: a warning, a list without units, the same text for all units.
    const std::tuple<std::string, std::string, std::string> words[] = {
        {"enable a", "echo Created symlink x; echo 'Warning: y'", "Warning: y\n"},
        {"start --quiet a", "echo 'Warning: y'", ""},
        {"stop a b", "echo 'Failed to x: No way'; echo 'See z'; exit 1",
         "merosystemctl: a: stop failed\n  systemd     No way\nmerosystemctl: b: stop failed\n  systemd     No way\n"},
        {"stop a x-a", "echo 'Failed to stop x-a.service: X'; echo 'Failed to stop a.service: Y'; exit 1",
         "merosystemctl: a: stop failed\n  systemd     Y\nmerosystemctl: x-a: stop failed\n  systemd     X\n"},
        {"start a", "echo 'A dependency job for a.service failed.'; exit 1",
         "merosystemctl: a: start failed\n" + cause},
        {"start a", "echo 'Job for a.service canceled.'; exit 1",
         "merosystemctl: a: start failed\n  systemd     Job for a.service canceled.\n" + cause},
        {"stop a b", "echo 'Failed to stop a.service: Access denied'; exit 1",
         "merosystemctl: a: stop failed: permission denied; run it as root\n"},
        {"start a b", "echo 'Failed to connect to bus: Host is down'; exit 1",
         "merosystemctl: start failed: systemd does not run on this machine\n"},
    };
    for (const auto& [command, script, output] : words) {
        Otherwise(script);
        EXPECT_EQ(Tool(command).output, output) << command;
    }
    Otherwise("echo 'Failed to x: No way'; exit 1");
    for (const std::string verb : {"start", "stop", "restart", "try-restart", "reload", "reload-or-restart",
                                   "reset-failed", "enable", "disable", "reenable", "mask", "unmask"}) {
        EXPECT_THAT(Tool(verb + " b").output,
                    StartsWith("merosystemctl: b: " + verb + " failed\n  systemd     No way\n"));
    }
    for (const auto& [command, what] : {std::pair("daemon-reload", "daemon-reload"),
                                        {"default-target a.target", "setting the default target"},
                                        {"isolate a.target", "isolating to a.target"}}) {
        EXPECT_EQ(Tool(command).output, "merosystemctl: " + std::string(what) + " failed\n  systemd     No way\n");
    }
    SetUnits({{"w", "LoadState=loaded\nActiveState=inactive\nRequires=a.service\n"}});
    Otherwise("echo 'Failed to stop b.service: X'; exit 1");
    EXPECT_EQ(Tool("stop --json a b | jq -c 'map([.unit, .done])'").output, "[[\"a\",true],[\"b\",false]]\n");
    Otherwise("echo 'A dependency job for w.service failed.'; exit 1");
    EXPECT_THAT(Tool("start w").output, AllOf(HasSubstr("\n  dependency "), Not(HasSubstr("A dependency job"))));
    SetUnits({{"w", "LoadState=loaded\nActiveState=inactive\n"}});
    EXPECT_THAT(Tool("start w").output, HasSubstr("A dependency job")) << "there is no better explanation";
    WriteProgram("/usr/bin/journalctl", R"(echo '{"MESSAGE_ID":"39f53479d3a045ac8e11786248231fbf","MESSAGE":"x",)"
                                        R"("UNIT":"w.service","__REALTIME_TIMESTAMP":"1"}')");
    EXPECT_THAT(Tool("start w").output, AllOf(HasSubstr("\n  condition   x\n"), Not(HasSubstr("A dependency job"))));
    Otherwise("echo 'Failed to connect to bus: x'; exit 1");
    for (const std::string command : {"start 'a*'", "isolate a.target", "daemon-reload", "default-target a.target"}) {
        EXPECT_EQ(Tool(command).exitCode, 6) << command;
    }
    SystemctlScript("[ $1 != list-jobs ]");
    EXPECT_THAT(Tool("isolate b.target"),
                FieldsAre(1, "isolated to b.target; units may still be stopping: the jobs cannot be listed\n"));
    Write("/run/merosystemd/reasons/b.service/r", ""), Write("/run/merosystemd/stopped-along/b.service/w.service", "");
    SetUnits({{"w.service", "LoadState=loaded\nActiveState=inactive\nCanStart=yes\n"}});
    Otherwise("case $* in *w.service*) exit 1; esac");
    EXPECT_THAT(Tool("reason release r b"), FieldsAre(1, "merosystemctl: w.service: does not run again\n"
                                                         "  stopped     along with b\n"
                                                         "              -> merosystemctl why w.service\n"));
    SystemctlScript("exit 1");
    const std::pair<std::string, std::string> queries[] = {{"jobs", "listing the jobs"},
                                                           {"list-services", "listing the services"},
                                                           {"list-units", "listing the loaded units"},
                                                           {"list-unit-files", "listing the unit files"},
                                                           {"status a", "a: asking for the status"},
                                                           {"status a b", "asking for the status"},
                                                           {"why", "listing the failed units"},
                                                           {"overview", "listing the failed units"},
                                                           {"stop --dry-run a", "asking for dependencies"},
                                                           {"default-target", "reading the default target"}};
    for (const auto& [command, what] : queries) {
        EXPECT_THAT(Tool(command), FieldsAre(1, StartsWith("merosystemctl: " + what + " failed"))) << command;
    }
    SystemctlScript("[ $1 != list-jobs ]");
    EXPECT_THAT(Tool("overview"), FieldsAre(1, StartsWith("merosystemctl: listing the jobs failed\n")));
    SystemctlScript("[ $1 = start ]");
    EXPECT_THAT(Tool("start --verify a"),
                FieldsAre(1, "merosystemctl: verifying the start failed: systemd does not answer\n"));
    const std::string asUser = "setpriv --reuid 65534 --clear-groups " + kTool + "volume register /v --unit a";
    EXPECT_THAT(Shell(asUser), FieldsAre(6, HasSubstr("a: volume register failed: your user manager does not run;")));
    EXPECT_THAT(Shell("XDG_RUNTIME_DIR=/run " + asUser),
                FieldsAre(1, HasSubstr("permission denied; run it as root\n")));
    shutdown(manager_, SHUT_RDWR);
    EXPECT_THAT(Tool("is-active a"),
                FieldsAre(6, "merosystemctl: asking for a failed: systemd does not run on this machine\n"));
    EXPECT_EQ(Tool("enable a/").exitCode, 6);
    EXPECT_EQ(Tool("enable --offline a/").exitCode, 1) << "needs no manager";
    Write(conf, "");
    EXPECT_EQ(Tool("jobs").exitCode, 6) << "no answer is not an empty answer";
    Write(conf, "dialect=current\n");
    RemoveSystemctl();
    for (const std::string command : {"start a", "stop a", "why a", "status a", "jobs", "show a Id", "default-target",
                                      "mask --offline a", "isolate a.target", "list-services", "daemon-reload"}) {
        EXPECT_THAT(Tool(command),
                    FieldsAre(6, MatchesRegex("merosystemctl: .* failed: /usr/bin/systemctl cannot be run\n")))
            << command;
    }
}

TEST_F(Program, StatusDistinguishesStates)
{
    const std::string names = "Description=A d\n", loaded = names + "LoadState=loaded\n";
    SetUnits({{"runs", loaded + "ActiveState=active\nUnitFileState=enabled\n"},
              {"rereads", loaded + "ActiveState=reloading\nUnitFileState=static\n"},
              {"starts", loaded + "ActiveState=activating\nUnitFileState=linked\nJob=7\n"},
              {"held", loaded + "ActiveState=inactive\nUnitFileState=disabled\nJob=8\n"},
              {"failed", loaded + "ActiveState=failed\nUnitFileState=indirect\n"},
              {"masked", names + "LoadState=masked\nActiveState=inactive\nUnitFileState=masked\n"},
              {"none", names + "LoadState=not-found\nActiveState=inactive\n"}});
    Write("/run/jobs", "7 starts.service start waiting\n8 held.service restart running\n");
    Write("/run/merosystemd/reasons/held.service/b", ""), Write("/run/merosystemd/reasons/held.service/a", "");
    EXPECT_EQ(Tool("status runs rereads starts held failed masked none").output,
              "UNIT     LOAD       ACTIVE      ENABLED   JOB            REASONS  DESCRIPTION\n"
              "runs     loaded     active      enabled   -              -        A d\n"
              "rereads  loaded     reloading   static    -              -        A d\n"
              "starts   loaded     activating  linked    start waiting  -        A d\n"
              "held     loaded     inactive    disabled  other running  a b      A d\n"
              "failed   loaded     failed      indirect  -              -        A d\n"
              "masked   masked     inactive    masked    -              -        A d\n"
              "none     not-found  inactive    -         -              -        A d\n");
    const std::string exitCodes =
        "for units in runs rereads starts held masked failed none 'runs held' 'held failed runs' "
        "'runs none failed'; do " +
        kTool + "status $units > /dev/null 2>&1; printf $?; done";
    EXPECT_EQ(Shell(exitCodes).output, "0033314314");
    SetUnits(
        {{"generated", loaded + "UnitFileState=generated\n"}, {"lasts", loaded + "UnitFileState=enabled-runtime\n"}});
    const std::string answers = "for unit in runs rereads starts held failed masked none generated lasts 'none held' "
                                "'held runs'; do for state in "
                                "active failed enabled; do " +
                                kTool + "is-$state --quiet $unit; printf $?; done; done";
    EXPECT_EQ(Shell(answers).output, "030030333333300333444330330333030");
    EXPECT_EQ(Shell("for verb in start stop restart try-restart reload reload-or-restart; do " + kTool +
                    "$verb held > /dev/null 2>&1; printf $?; done")
                  .output,
              "303003")
        << "what starts nothing is done";
    const std::string pid = std::to_string(getpid()), command = Shell("cat /proc/" + pid + "/comm").output;
    SetUnits({{"one", loaded +
                          "FragmentPath=/f\nActiveState=active\nSubState=running\nStateChangeTimestamp=Mon\nJob=7\n"
                          "UnitFileState=alias\nMemoryCurrent=2048\nNeedDaemonReload=yes\nMainPID=" +
                          pid + "\n"}});
    Write("/run/merosystemd/reasons/one.service/r", "");
    WriteProgram("/usr/bin/journalctl",
                 R"(echo '{"_SYSTEMD_UNIT":"one.service","MESSAGE":"hi","__REALTIME_TIMESTAMP":"1"}')");
    EXPECT_THAT(
        Tool("status one"),
        FieldsAre(
            0, "one.service - A d\nActive    active (running) since Mon\nLoaded    loaded from /f, alias\nMain PID  " +
                   pid + " (" + command.substr(0, command.size() - 1) +
                   ")\nMemory    2.0 KiB\nJob       start waiting\nHeld      r\nJan 01 00:00:00 : "
                   "hi\nmerosystemctl: changed on disk since "
                   "systemd read it: one\n  -> merosystemctl daemon-reload\n"));
    fs::remove("/run/merosystemd/reasons/one.service/r");
    SetUnits({{"alias", "Id=one.service\nNames=alias.service one.service\nLoadState=loaded\nActiveState=active\n"}});
    WriteProgram("/usr/bin/journalctl", R"(case "$*" in *--unit=one*) for i in 1 2 3 4 5 6 7 8 9 10 11 12; do )"
                                        R"(echo '{"_SYSTEMD_UNIT":"one.service","MESSAGE":"hi",)"
                                        R"("__REALTIME_TIMESTAMP":"1"}'; done; esac)");
    for (const std::string unit : {"one", "alias"}) {
        EXPECT_EQ(Shell(kTool + "status " + unit + " 2> /dev/null | grep -c ': hi$'").output, "10\n")
            << "the journal knows no aliases";
    }
    SetUnits({{"dead", loaded + "ActiveState=inactive\nSubState=dead\nMainPID=0\nMemoryCurrent=[not set]\n"}});
    EXPECT_THAT(Tool("status dead"), FieldsAre(3, "dead.service - A d\nActive    inactive (dead)\nLoaded    loaded\n"));
    EXPECT_THAT(Tool("status one 'a b'"), FieldsAre(1, HasSubstr("a b: systemd cannot be asked")));
    EXPECT_EQ(Tool("jobs").output, "JOB  UNIT            TYPE   STATE\n7    starts.service  start  waiting\n"
                                   "8    held.service    other  running\n");
    EXPECT_EQ(Tool("reason list none held").output, "SERVICE       REASONS\nheld.service  a b\nnone.service  -\n");
    EXPECT_EQ(Tool("--system list-units").exitCode, 0);
    EXPECT_EQ(Tool("reason list").output, "SERVICE       REASONS\nheld.service  a b\n");
    for (int i = 1; i <= 11; ++i) {
        SetUnits({{"many" + std::to_string(i) + ".service", "LoadState=loaded\n"}});
    }
    EXPECT_EQ(Shell(kTool + "reason add r $(seq -f many%g 10) 2>&1 | grep -c ': a drop-in'").output, "10\n");
    EXPECT_EQ(Tool("reason add s $(seq -f many%g 11)").output,
              "merosystemctl: 11 services: a drop-in keeps it from starting until its last reason is gone\n");
    Write("/run/systemd/system/bare.service.d", ""), SetUnits({{"bare.service", loaded}});
    EXPECT_THAT(Tool("reason add r bare"),
                FieldsAre(1, HasSubstr("bare.service: its reasons do not keep it from starting: "
                                       "/run/systemd/system/bare.service.d/mero-reason.conf cannot be made\n")));
    const std::string green = "\x1b[32mactive\x1b[0m", yellow = "\x1b[33mactivating\x1b[0m", red = "\x1b[31mmasked";
    for (const std::string environment : {"NO_COLOR= ", "NO_COLOR=1 ", "TERM=dumb ", "TERM= "}) {
        const bool isColoured = environment == "NO_COLOR= ";
        const std::string screen = Terminal(environment + kTool + "status runs starts masked").Rest();
        EXPECT_EQ(Value(screen, AllOf(HasSubstr(green), HasSubstr(yellow), HasSubstr(red))), isColoured) << screen;
        EXPECT_EQ(Value(screen, HasSubstr("\x1b")), isColoured);
    }
}

/// As systemctl prints it while jobs are queued.
const std::string kFailedUnit = "UNIT      LOAD   ACTIVE SUB    JOB DESCRIPTION\\na.service loaded failed failed     A "
                                "b\\n\\nLOAD = text\\n";

TEST_F(Program, ShowsWhatIsWrongOnOneScreen)
{
    const std::string well = "all is well: nothing failed, is held, or is down for a volume; no jobs, no isolation\n";
    Write("/run/jobs", "");
    for (const std::string command : {"overview", "", "--no-progress"}) {
        EXPECT_THAT(Tool(command), FieldsAre(0, well)) << command;
    }
    EXPECT_THAT(Tool("why"), FieldsAre(0, "nothing failed, is held, or is down for a volume\n"));
    EXPECT_THAT(Calls(), Contains("list-units --full --no-pager --plain --state=failed,auto-restart"));
    Otherwise("case $1 in list-units) [ $7 ] || printf '" + kFailedUnit + "';; esac");
    for (char c = 'a'; c < 'j'; ++c) {
        Write("/run/jobs", Read("/run/jobs") + std::to_string(c) + " " + c + ".service start waiting\n");
    }
    Write("/run/merosystemd/reasons/h.service/r", ""), Shell("touch -d @0 /run/merosystemd/reasons/h.service/r");
    Write("/run/merosystemd/volume-unmount.json", R"({"volumes":["/v"],"units":["d.service"],"since":0})");
    Write("/run/merosystemd/isolate-state", "target=a.target\npid=4194304\n");
    const std::string to = "            -> merosystemctl ";
    EXPECT_EQ(Shell(kTool + "overview | sed 's/([0-9]*$/(n/; / start waiting$/d'").output,
              "failed      a.service - A b\n" + to +
                  "why\nheld        h.service by the reason r since Thu 1970-01-01 "
                  "00:00:00 UTC (n\n            days)\n" +
                  to +
                  "reason release REASON SERVICE\n"
                  "down        the unmount of /v that began Thu 1970-01-01 00:00:00 UTC was\n"
                  "            interrupted\n            d.service\n" +
                  to +
                  "volume recover\n"
                  "            and 2 more\n" +
                  to +
                  "jobs\n"
                  "isolation   an isolation to a.target was interrupted (PID 4194304 is gone)\n" +
                  to + "isolate default.target\n");
    EXPECT_EQ(Shell("sed -i 1d /run/jobs; " + kTool + "overview | grep -c ' start waiting'").output, "8\n");
    Calls();
    EXPECT_THAT(Tool("list-units --all --failed --type service --state x 'a*'"),
                FieldsAre(4, "merosystemctl: a*: no loaded unit matches\n"));
    EXPECT_THAT(Calls(),
                ElementsAre("list-units --full --no-pager --plain --all --state=failed --type=service --state=x a*"));
    EXPECT_THAT((Tool("stop 'a.servic?'"), Calls()), Contains("stop a.service"));
    EXPECT_THAT((Tool("--failed"), Calls()), ElementsAre("list-units --full --no-pager --plain --state=failed"));
    Otherwise("echo no; exit 1");
    EXPECT_THAT(Tool("list-units"), FieldsAre(1, HasSubstr("listing the loaded units failed\n")));
    fs::remove_all("/run/merosystemd/reasons");
    Write("/run/systemd/system/g.service.d/mero-reason.conf",
          "[Unit]\nConditionDirectoryNotEmpty=!/run/merosystemd/reasons/%n\n");
    Write("/run/merosystemd/stopped-along/b.service/w.service", "");
    const std::string found =
        Shell("cd /run/merosystemd; mkdir -p locks; flock locks/x.lock " + kTool + "doctor; echo $?").output;
    for (const std::string& text :
         std::vector<std::string>{"\nnote   event log",
                                  "\nbad    holds       g.service has a drop-in of a hold that is gone\n       " + to +
                                      "reason remove any g.service\n",
                                  "\nbad    holds       w.service stopped along with b.service",
                                  "\nnote   locks       x.lock: held by process ", "\nbad    isolation   an isolation",
                                  "of /v was interrupted; down: d.service\n       " + to + "volume recover\n1\n"}) {
        EXPECT_THAT(found, HasSubstr(text));
    }
}

TEST_F(Program, ShowsAndStartsWhatAnUnmountStopped)
{
    const auto record = [](const std::string& caller) {
        Write("/run/merosystemd/volume-unmount.json",
              R"({"volumes":["/v"],"units":["a.service","b.service","c.service","d.service","e.service","f.service"],)"
              R"("since":)" +
                  std::to_string(std::time(nullptr) - 7500) + R"(,"caller":{"pid":)" + caller + "}}");
    };
    SetUnits({{"a.service", "ActiveState=active\n"},
              {"b.service", "ActiveState=activating\n"},
              {"c.service", "ActiveState=reloading\n"},
              {"d.service", "ActiveState=refreshing\n"},
              {"e.service", "ActiveState=failed\nResult=exit-code\n"},
              {"f.service", "ActiveState=inactive\nResult=success\n"}});
    const std::string end =
        "; it began 2 h ago\nstopped for it: a.service b.service c.service d.service e.service f.service\n";
    const Waiting caller;
    const std::string pid = std::to_string(caller.pid), stat = Read("/proc/" + pid + "/stat");
    std::istringstream fields(stat.substr(stat.rfind(')')));
    std::string started;
    for (int i = 2; i <= 22; ++i) { // as proc(5) numbers them
        fields >> started;
    }
    record(pid + R"(,"started":")" + started + "\"");
    EXPECT_THAT(Tool("volume state"), FieldsAre(0, "an unmount of /v by process " + pid + " is running" + end));
    EXPECT_THAT(Tool("doctor").output, HasSubstr("\nnote   unmount     /v is being unmounted\n"));
    EXPECT_THAT(Tool("volume recover"), FieldsAre(0, "no unmount was interrupted: nothing to do\n"));
    EXPECT_THAT(Tool("overview").output,
                MatchesRegex("down +the unmount of /v that began [^\n]* is going on\n +a.service\n.*"));
    EXPECT_EQ(Tool("overview --json | jq .unmount.state").output, "\"running\"\n");
    EXPECT_THAT(Tool("why f.service").output, HasSubstr("\nvolume      stopped while a volume is being unmounted;"));
    record("7");
    EXPECT_THAT(Tool("volume state"), FieldsAre(1, "an unmount of /v by process 7 was interrupted" + end +
                                                       "  -> merosystemctl volume recover\n"));
    EXPECT_EQ(Tool("volume state --json | jq .state").output, "\"interrupted\"\n");
    EXPECT_THAT(Tool("volume recover"),
                FieldsAre(1, "running again: a.service b.service c.service d.service\n"
                             "merosystemctl: e.service: does not run again: it is failed, result exit-code\n"
                             "  -> merosystemctl why e.service\n"
                             "merosystemctl: f.service: does not run again: it is inactive, result success\n"
                             "  -> merosystemctl why f.service\n"));
    EXPECT_THAT(Tool("volume state"), FieldsAre(3, "no unmount has stopped services\n"));
    for (const auto& [lock, what] : {std::pair("volume-unmount-action", "another unmount"),
                                     {"isolate-and-volume-unmount-action", "an isolation"}}) {
        EXPECT_EQ(Shell(std::string("mkdir -p /run/merosystemd/locks; flock /run/merosystemd/locks/") + lock +
                        ".lock timeout 1 " + kTool + "volume unmount /v -- true 2>&1 | sed 's/[0-9][0-9]*/N/'")
                      .output,
                  std::string("waiting for ") + what + " to end: process N (flock)\n");
    }
}

TEST_F(Program, DryRunsShowWhatStartsAndStops)
{
    const std::string up = "LoadState=loaded\nActiveState=active\n", down = "LoadState=loaded\nActiveState=inactive\n";
    const std::string skipped = "ConditionResult=no\nConditionTimestampMonotonic=5\n";
    for (const char* unit :
         {"need.service", "bound.service", "deep.service", "base.socket", "base.timer", "foe.service"}) {
        SetUnits({{unit, up}});
    }
    for (const char* unit : {"idle.service", "off.socket", "lib.service", "nice.service", "held-up.service"}) {
        SetUnits({{unit, down}});
    }
    SetUnits({{"base.service", up + "RequiredBy=need.service idle.service\nBoundBy=bound.service\n"
                                    "ConsistsOf=part.service going.service\nPropagatesStopTo=base.socket\n"
                                    "TriggeredBy=base.socket off.socket base.timer\n"},
              {"part.service", up + "BoundBy=deep.service\n"},
              {"going.service", "LoadState=loaded\nActiveState=deactivating\n"},
              {"web.service", down + "Requires=lib.service\nWants=gone.service new.service runs.service "
                                     "skip.service\nUpholds=held-up.service\nConflicts=old.service idle.service\n"
                                     "ConflictedBy=foe.service\n"},
              {"gone.service", "LoadState=not-found\nActiveState=inactive\n"},
              {"skip.service", down + skipped},
              {"new.service", down + "ConditionResult=no\nConditionTimestampMonotonic=0\n"},
              {"runs.service", up + skipped + "Wants=nice.service\nConflicts=base.service\n"},
              {"old.service", up + "TriggeredBy=keeper.socket\n"},
              {"keeper.socket", up + "IgnoreOnIsolate=yes\n"},
              {"small.target", down + "Requires=lib.service\n"},
              {"out.service", down + "FragmentPath=/f\nDropInPaths=/d/a.conf /d/b.conf\n"}});
    Otherwise("case $1 in list-units) printf 'UNIT LOAD\nold.service x\nfoe.service x\nkeeper.socket x\n';; esac");
    Write("/run/merosystemd/reasons/web.service/r", "");
    const std::pair<std::string, std::string> cases[] = {
        {"stop --dry-run base.service",
         "base.service stops named\nbase.service can start again on demand by base.timer\n"
         "base.socket stops along with base.service\nbound.service stops along with base.service\n"
         "deep.service stops along with part.service\nneed.service stops along with base.service\n"
         "part.service stops along with base.service\n"},
        {"stop --dry-run idle.service", "idle.service stays stopped it does not run\n"},
        {"uninstall --dry-run out.service",
         "out.service stays stopped it does not run\nout.service loses its file /f\n"
         "out.service loses its file /d/a.conf\nout.service loses its file /d/b.conf\n"},
        {"stop --dry-run gone.service", "merosystemctl: gone.service: there is no such unit\n"},
        {"reason release --dry-run r web.service",
         "held-up.service starts needed by web.service\n"
         "lib.service starts needed by web.service\nnew.service starts needed by web.service\n"
         "nice.service starts needed by runs.service\n"
         "web.service starts named\nold.service stops conflicts with web.service\n"
         "foe.service stops conflicts with web.service\n"},
        {"isolate --dry-run small.target", "lib.service starts needed by small.target\nsmall.target starts named\n"
                                           "foe.service stops small.target does not need it\n"},
    };
    for (const auto& [command, table] : cases) {
        EXPECT_EQ(Shell(kTool + "--quiet " + command + " 2>&1 | sed '/^UNIT *CHANGE *CAUSE$/d; s/  */ /g'").output,
                  table)
            << command;
    }
}

TEST_F(Program, DoctorFindsWhatIsWrongAndNothingElse)
{
    const std::string folder = "/run/systemd/system/", dropIn = ".service.d/mero-reason.conf";
    const std::string condition = "[Unit]\nConditionDirectoryNotEmpty=!/run/merosystemd/reasons/%n\n";
    const std::string held = "FragmentPath=/f\nDropInPaths=" + folder + "on" + dropIn + "\n";
    WriteProgram("/usr/bin/journalctl", "echo '{}'");
    Write("/run/merosystemd/reasons/on.service/r", ""), Write(folder + "on" + dropIn, condition);
    Write("/run/merosystemd/reasons/own.service/r", ""), Write("/run/own.service", condition);
    SetUnits({{"own.service", "FragmentPath=/run/own.service\n"}});
    Write(folder + "other" + dropIn, "[Unit]\n"), Write("/run/merosystemd/stopped-along/on.service/w.service", "");
    Write("/run/merosystemd/isolate-state", "target=a.target\npid=1\n"), SetUnits({{"on.service", held}});
    EXPECT_THAT(Tool("doctor").output,
                AllOf(Not(HasSubstr(" systemd ")), HasSubstr("good   dialect "), HasSubstr("good   journal "),
                      HasSubstr("good   holds       2 services are held\ngood   locks "),
                      HasSubstr("\nnote   isolation   the machine is being isolated")));
    SetUnits({{"on.service", held + "NeedDaemonReload=yes\n"}}), fs::remove("/run/merosystemd/isolate-state");
    Write("/run/merosystemd/isolate-not-finish-flag", ""), Write("/run/merosystemd/volume-unmount.json", "{");
    Write("/usr/mero/etc/merosystemd/systemctl.conf", ""), SystemctlScript("echo systemd 257");
    WriteProgram("/usr/bin/journalctl", "echo not permitted >&2"), shutdown(manager_, SHUT_RDWR);
    EXPECT_THAT(
        Shell("cd /run/merosystemd; flock status_monitor.exit.lock " + kTool + "doctor").output,
        AllOf(HasSubstr("bad    systemd     systemd does not run"), HasSubstr("\nbad    dialect     systemd 257 "),
              HasSubstr("\nbad    journal     has no messages"), HasSubstr("status_monitor.exit.lock: held by"),
              HasSubstr("\nbad    isolation   one was interrupted"), HasSubstr("\nbad    unmount     cannot ")));
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n"), Otherwise("true");
    EXPECT_THAT(Tool("doctor").output,
                HasSubstr("bad    holds       on.service is held, but systemd has not read its drop-ins yet\n"));
    RemoveSystemctl();
    EXPECT_THAT(Tool("doctor").output, StartsWith("bad    systemd     /usr/bin/systemctl cannot be run\n"));
}

/// A machine with something to print for every command.
struct FullProgram : Program {
    FullProgram()
    {
        const std::pair<std::string, std::string> units[] = {
            {"web.service", "Name=Web \"server\"\nNameI18n=web:title\nDefaultEnable=yes\nFirewallSections=http https\n"
                            "BelongsTo=multi-user.target other.service\nPackedIn=a.target\nSupportKey=zfs\n"},
            {"all.service", "VolumeDependency=all\n"},
            {"child.service",
             "VolumeDependency=all\nMaster=all.service\nSupportOneClickEnable=yes\nInfoCenterDisplay=yes\n"},
            {"pkgctl-Foo.service", "VolumeDependency=partial\n"},
            {"some.service", "VolumeDependency=partial\nNanoUpdateDisplay=yes\n"},
            {"uses.service", ""},
            {"a.slice", "Name=A\n"},
            {"b.slice", "NameI18n=b:title\n"}};
        const std::string known = "SubState=running\nStateChangeTimestamp=Mon\nMainPID=7\nMemoryCurrent=4096\n"
                                  "NeedDaemonReload=yes\nDescription=U\n";
        const std::string accounted = "CPUUsageNSec=1500000000\nIOReadBytes=4096000000\nIOWriteBytes=[not set]\n";
        SetUnits({{"part.service", "LoadState=loaded\nActiveState=active\n"},
                  {"all.timer", "LoadState=loaded\nActiveState=active\n"}});
        for (const auto& [unit, keys] : units) {
            Write("/run/files", Read("/run/files") + unit + " enabled enabled\n");
            Write("/usr/lib/systemd/system/" + unit, "[X-Tarvix]\n" + keys);
            SetUnits({{unit, "Id=" + unit + "\nLoadState=loaded\nActiveState=active\nJob=7\n" +
                                 (unit == "a.slice"        ? accounted
                                  : unit == "uses.service" ? known
                                                           : "") +
                                 (unit == "all.service" ? "ConsistsOf=part.service\nTriggeredBy=all.timer\n" : "")}});
        }
        Write("/run/jobs", "7 web.service start waiting\n"), Write("/run/merosystemd/reasons/web.service/r", "");
        close(file_), fs::create_directories("/var/packages/Foo");
        EXPECT_EQ(Tool("volume register " + kVolume + " --unit some; " + kTool + "volume register " + kVolume +
                       " --package Foo; " + kTool + "volume register /v --unit web; " + kTool +
                       "volume register /tmp --unit web; " + kTool + "volume unregister /tmp --unit web")
                      .output,
                  "merosystemctl: warning: /v is registered, but there is no such folder now\n");
        Write("/run/cgroup", "1:name=systemd:/uses.service\n2:name=meromonitor:/a.slice\n");
        Write("/run/other", "1:name=systemd:/\n"),
            Write("/run/swaps", "Filename Type\n" + kVolume + "/swap file 1 0\n");
        Mount("/run/cgroup", user_.File("cgroup")), Mount("/run/other", holder_.File("cgroup"));
        Mount("/run/swaps", "/proc/swaps"), Mount(kVolume, kVolume);
        Write("/sys/fs/cgroup/meromonitor/a.slice/tasks", pid_ + "\n");
        Write("/sys/fs/cgroup/meromonitor/b.slice/tasks", "");
        Otherwise("case $1 in get-default) echo a.target;; list-units) printf '" + kFailedUnit + "';; esac");
    }
    ~FullProgram() override { umount("/proc/swaps"), umount(kVolume.c_str()); }

    static void Mount(const std::string& source, const std::string& place)
    {
        EXPECT_EQ(mount(source.c_str(), place.c_str(), "", MS_BIND, ""), 0);
    }
    /// The output with single blanks between columns, and without figures that change: a tick or two of start-up too.
    static std::string Table(const std::string& command)
    {
        return Shell(kTool + command +
                     " 2> /dev/null | sed 's/  */ /g; s/ [0-9.]* [KMG]iB/ n KiB/g; s/ [0-9]*[.][0-9]*%/ n%/g; s/ "
                     "0[.]0[0-9] / 0.00 /g'")
            .output;
    }

    const std::string kVolume = "/run/pool-" + std::to_string(getpid());
    const int file_ = (Write(kVolume + "/file", ""), open((kVolume + "/file").c_str(), O_RDONLY)); // inherited
    Waiting user_, holder_;
    const std::string pid_ = std::to_string(user_.pid), other_ = std::to_string(holder_.pid);
};

TEST_F(FullProgram, PrintsTables)
{
    const std::string users = pid_ + " sleep fd " + kVolume + "/file", none = " - - - -\n", n = " n KiB";
    const std::string usage = " sleep 0.00 n% n KiB 0 B/s 0 B/s\n",
                      usages = "PID NAME CPU SECONDS CPU MEMORY INPUT OUTPUT\n";
    const std::string top =
        "a.slice CPU n% memory" + n +
        " input 0 B/s output 0 B/s processes 1\nb.slice CPU n% memory 0 B input 0 B/s output 0 B/s processes 0\n";
    const std::pair<std::string, std::string> cases[] = {
        {"info web", "Unit web\nName Web \"server\"\nTranslated name web:title\nSupported here no\n"
                     "Enabled by default yes\nOne-click enable no\nIn information centre no\nIn small update no\n"
                     "Firewall sections http https\nBelongs to multi-user.target\nPacked in a.target\n"},
        {"info a.slice | grep Trans", "Translated name -\n"},
        {"info child | grep yes", "Supported here yes\nOne-click enable yes\nIn information centre yes\n"},
        {"info some | grep yes", "Supported here yes\nIn small update yes\n"},
        {"volume list",
         "KIND OWNER VOLUMES\nunit some.service " + kVolume + "\nunit web.service /v\npackage Foo " + kVolume + "\n"},
        {"--no-legend volume list /v", "unit web.service /v\n"},
        {"volume list /v /none", "KIND OWNER VOLUMES\nunit web.service /v\n"},
        {"volume users " + kVolume, "uses.service\n"},
        {"volume dependency child", "all\n"},
        {"volume plan " + kVolume,
         "SERVICE CAUSE PID COMMAND HOW FILE\nall.service depends on all volumes" + none +
             "all.service master of child.service, which depends on all volumes" + none +
             "pkgctl-Foo.service belongs to package Foo, which registered the volume" + none +
             "some.service registered the volume" + none + "uses.service uses files " + users +
             "\npart.service stops along with all.service, and is not started again" + none +
             "\nall.timer may start all.service again before the volume is unmounted\n"
             " -> merosystemctl stop all.timer\n\nStill keeping the volume busy after those services stop:\n\n"
             "WHAT UNIT PID COMMAND HOW FILE\nprocess - " +
             other_ + " sleep fd " + kVolume + "/file\n -> kill " + other_ + "\nswap file - - - - " + kVolume +
             "/swap\n -> swapoff " + kVolume + "/swap\n"},
        {"process show --interval 0.1 " + pid_, usages + pid_ + usage},
        {"slice list", "SLICE PROCESSES MEMORY CPU SECONDS NAME TRANSLATED NAME\n"
                       "a.slice 1" +
                           n + " 0.00 A -\nb.slice 0 0 B 0.00 - b:title\n"},
        {"slice show --interval 0.1 a.slice", usages + pid_ + usage + "total 1 process 0.00 n% n KiB 0 B/s 0 B/s\n"},
        {"slice top --interval 0.1 --count 2 | sed 's/^[0-9:]* *//'", top + top},
    };
    for (const auto& [command, table] : cases) {
        EXPECT_EQ(Table(command), table) << command;
    }
    EXPECT_THAT(Shell("setpriv --reuid 65534 --clear-groups " + kTool + "volume plan " + kVolume),
                FieldsAre(1, HasSubstr("this plan is incomplete: the files of other users' processes cannot be read\n"
                                       "  -> run it as root\n")));
    EXPECT_EQ(Shell("sleep 0.8 & " + kTool + "process show --interval 1.2 $! 2>&1 | sed 's/ [0-9]*:/ N:/'").output,
              "merosystemctl: N: the process has ended\n");
    EXPECT_THAT(Tool("slice show --interval 0.1 b.slice").output,
                HasSubstr("0 processes         0.00  0.0%     0 B  0 B/s   0 B/s\n"))
        << "figures are aligned at the right";
}

TEST_F(FullProgram, PrintsMetrics)
{
    const auto family = [](const std::string& name, const std::string& type, const std::string& a) {
        const std::string metric = "merosystemd_slice_" + name;
        return "# TYPE " + metric + " " + type + "\n" + metric + "{slice=\"a.slice\"} " + a + "\n" + metric +
               "{slice=\"b.slice\"} 0\n";
    };
    const std::pair<std::string, std::string> cases[] = {
        {"slice show --prometheus",
         family("memory_bytes", "gauge", "n KiB") + family("cpu_seconds_total", "counter", "1.5") +
             family("read_bytes_total", "counter", "4096000000") + family("written_bytes_total", "counter", "0")},
        {"slice show --prometheus b.slice | grep -c '^[^#].*b.slice'", "4\n"},
        {"overview --prometheus", "# TYPE merosystemd_units_failed gauge\nmerosystemd_units_failed 1\n"
                                  "# TYPE merosystemd_units_held gauge\nmerosystemd_units_held 1\n"
                                  "# TYPE merosystemd_units_down gauge\nmerosystemd_units_down 0\n"},
    };
    for (const auto& [command, metrics] : cases) {
        EXPECT_EQ(Table(command + " | sed '/^# HELP merosystemd/d; /memory.*a.slice/s/[1-9][0-9]*$/n KiB/'"), metrics);
    }
    EXPECT_THAT(Shell("setpriv --reuid 65534 --clear-groups " + kTool + "slice show --prometheus"),
                FieldsAre(1, HasSubstr("run it as root\n")))
        << "a sum of what one user may read is wrong";
    Write("/run/merosystemd/volume-unmount.json", "no record\n");
    EXPECT_THAT(Tool("overview --prometheus"), FieldsAre(1, Not(HasSubstr("units_down"))));
    EXPECT_THAT(Tool("overview").output, HasSubstr("cannot read whether an unmount was interrupted\n"));
    EXPECT_EQ(Tool("overview --json | jq .unmount.state").output, "\"unreadable\"\n");
    for (const std::string command : {"volume state", "volume recover"}) {
        EXPECT_THAT(Tool(command),
                    FieldsAre(1, StartsWith("merosystemctl: reading the state of the last unmount failed\n")));
    }
}

TEST_F(FullProgram, PrintsJsonThatMatchesItsSchema)
{
    struct Case {
        std::string command, arguments, filter, filtered; ///< the stable part of the output, and its value
    };
    const std::string briefly = "--interval 0.1 ";
    const Case cases[] = {
        {"status", "web.service uses.service",
         "(.[0] | [.active, .enabled, .job.id, .job.type, .job.state, .load, .reasons, .unit]), "
         "(.[1] | [.sub, .since, .mainPid, .memoryBytes, .needDaemonReload, .description])",
         R"(["active","",7,"start","waiting","loaded",["r"],"web.service"])"
         "\n"
         R"(["running","Mon",7,4096,true,"U"])"},
        {"why", "web.service", "[.active, .causes[0].kind, .causes[0].remedy]",
         R"(["active","held","merosystemctl reason release r web.service"])"},
        {"jobs", "", ".", R"([{"id":7,"state":"waiting","type":"start","unit":"web.service"}])"},
        {"info", "web", ".",
         R"({"belongsTo":["multi-user.target"],"defaultEnable":true,"firewallSections":["http","https"],)"
         R"("infoCenter":false,"name":"Web \"server\"","nameI18n":"web:title","nanoUpdate":false,)"
         R"("oneClickEnable":false,"packedIn":["a.target"],"supported":false,"unit":"web"})"},
        {"show", "-p Id web", ".", R"({"web":{"Id":"web.service"}})"},
        {"start", "all web", "map([.unit, .done, .causes[].kind])", R"([["web",false,"held"],["all",true]])"},
        {"stop", "--dry-run web", "[.changes[].change]", R"(["stops"])"},
        {"list-jobs", "", "length", "1"},
        {"list-units", "", ".",
         R"([{"active":"failed","description":"A b","load":"loaded","sub":"failed","unit":"a.service"}])"},
        {"list-unit-files", "", "[length, .[0]]", R"([8,{"state":"enabled","unit":"web.service"}])"},
        {"overview", "", "del(.jobs, .unmount.since)",
         R"({"failed":[{"description":"A b","sub":"failed","unit":"a.service"}],"held":{"web.service":["r"]},)"
         R"("isolation":{"state":"none","target":""},"unmount":{"state":"none","units":[],"volumes":[]}})"},
        {"doctor", "", "map([.check, .result, .remedy])",
         R"([["dialect","good",""],["cgroups","bad",""],["event log","note",""],["monitor","note",""],)"
         R"(["journal","bad","systemctl status systemd-journald.service"],)"
         R"(["holds","bad","merosystemctl reason add REASON web.service"],["locks","good",""],)"
         R"(["isolation","good",""],["unmount","good",""]])"},
        {"list-services", "", "length", "6"},
        {"default-target", "", ".", R"("a.target")"},
        {"reason list", "", ".", R"({"web.service":["r"]})"},
        {"isolate-state", "", ".", R"({"isolating":false,"target":""})"},
        {"volume list", "/v", ".", R"([{"kind":"unit","owner":"web.service","volumes":["/v"]}])"},
        {"volume users", kVolume, ".", R"(["uses.service"])"},
        {"volume dependency", "some", ".", R"("partial")"},
        {"volume plan", kVolume,
         "[.stops[].causes[] | .cause, .unit, .package, .users[].how], [.complete, .blockers[].what], "
         "[.dependents[] | .unit, .takenBy, .startsAgain], [.triggers[] | .unit, .service]",
         R"(["all","all.service","","all","child.service","","package","pkgctl-Foo.service","Foo","unit",)"
         R"("some.service","","files","uses.service","","fd"])"
         "\n"
         R"([true,"process","swap file"])"
         "\n"
         R"(["part.service","all.service",false])"
         "\n"
         R"(["all.timer","all.service"])"},
        {"volume unmount", "--dry-run " + kVolume, ".blockers[0].user.file", "\"" + kVolume + "/file\""},
        {"volume state", "", ".", R"({"pid":0,"since":0,"state":"none","units":[],"volumes":[]})"},
        {"cgroup show", pid_, "del(.pid)",
         R"({"meromonitor":"/a.slice","systemd":"/uses.service","unit":"uses.service"})"},
        {"process show", briefly + pid_, "[.name, .pid]", R"(["sleep",)" + pid_ + "]"},
        {"slice list", "", "map([.slice, .name, .nameI18n, .processes])",
         R"([["a.slice","A","",1],["b.slice","","b:title",0]])"},
        {"slice show", briefly + "a.slice",
         "[.slice, .name, .nameI18n, .processes[].name, (.total.cpuSeconds | floor)]",
         R"(["a.slice","A","","sleep",0])"},
        {"slice top", briefly + "--count 1", "map([.slice, .processes])", R"([["a.slice",1],["b.slice",0]])"},
    };
    std::string outputs;
    for (const Case& c : cases) {
        const std::string output = Tool(c.command + " " + c.arguments + " --json 2> /dev/null").output;
        Write("/run/out", output);
        EXPECT_TRUE(c.command != "slice top" || output.find('\n') == output.size() - 1) << "a line each time";
        EXPECT_EQ(Shell("jq -cS '" + c.filter + "' /run/out").output, c.filtered + "\n") << c.command;
        outputs += (outputs.empty() ? "{\"" : ",\"") + c.command + "\":" + output;
    }
    Write("/run/out", outputs + "}");
    // Each output must match the definition with its command's name.
    EXPECT_EQ(
        Shell("jq '{definitions, properties: (.definitions | with_entries(.value = {\"$ref\": (\"#/definitions/\" + "
              "(.key | gsub(\" \"; \"%20\")))}))}' " SCHEMA
              " > /run/schema && PYTHONWARNINGS=ignore /usr/bin/jsonschema -i /run/out /run/schema")
            .output,
        "");
}

} // namespace
