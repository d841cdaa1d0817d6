#include "core/event_log.h"
#include "core/failed_units.h"
#include "core/text.h"
#include "support/operations.h"
#include "unit/enable_status_flag.h"

#include <variant>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kFlags = "/usr/mero/etc/merosystemd/enable-status-changed";

/// Which units count as failed: those that systemctl names, all units, or the unit of the run.
enum class Kind { Action, Enablement, Masking };

/// An operation with all its forms and log texts.
struct Operation {
    Kind kind;
    std::string command, file, doing, done, failed;
    bool (*list)(const Texts&, Texts&);
    bool (*single)(const std::string&);
    int (*fromC)(const char*);
    std::variant<int (*)(const MLIBCSzList*, MLIBCSzList**), int (*)(const MLIBCSzList*)> group;

    bool RunGroup(MLIBCSzList** failedUnits) const
    {
        const List units = MakeList({"a", "b"});
        return kind == Kind::Action ? std::get<0>(group)(units.get(), failedUnits) : std::get<1>(group)(units.get());
    }
};

#define FORMS(Name, Plus)                                                                                              \
    MEROSystemd##Name##Plus, MEROSystemd##Name##Plus, MEROCSystemd##Name##Plus, MEROCSystemd##Name##Group##Plus
#define BLOCKING_OR_NOT(Name, verb, ...)                                                                               \
    {Kind::Action, verb, __VA_ARGS__, FORMS(Name, )},                                                                  \
    {                                                                                                                  \
        Kind::Action, verb " --no-block", __VA_ARGS__, FORMS(Name, NoBlock)                                            \
    }

constexpr Kind kEnablement = Kind::Enablement, kMasking = Kind::Masking;

const Operation kOperations[] = {
    BLOCKING_OR_NOT(Start, "start", "systemd_start", "starting ...", "started.", "start failed"),
    BLOCKING_OR_NOT(Stop, "stop", "systemd_stop", "stopping ...", "stopped.", "stopped failed"),
    BLOCKING_OR_NOT(Restart, "restart", "systemd_restart", "restarting ...", "restarted.", "restart failed"),
    BLOCKING_OR_NOT(TryRestart, "try-restart", "systemd_restart", "try-restarting ...", "try-restarted.",
                    "try-restart failed"),
    BLOCKING_OR_NOT(Reload, "reload", "systemd_reload", "reloading ...", "reloaded.", "reload failed"),
    BLOCKING_OR_NOT(ReloadOrRestart, "reload-or-restart", "systemd_reload_or_restart", "doing reload-or-restart ...",
                    "done reload-or-restart.", "reload-or-restart failed"),
    {kEnablement, "enable", "systemd_enable", "enabling ...", "enabled.", "enable failed", FORMS(Enable, )},
    {kEnablement, "disable", "systemd_disable", "disabling ...", "disabled.", "disable failed", FORMS(Disable, )},
    {kEnablement, "reenable", "systemd_reenable", "reenabling ...", "reenabled.", "reenable failed", FORMS(Reenable, )},
    {kEnablement, "enable --root=/.", "systemd_enable", "enabling ...", "enabled.", "enable failed",
     FORMS(Enable, InGenerator)},
    {kEnablement, "disable --root=/.", "systemd_disable", "disabling ...", "disabled.", "disable failed",
     FORMS(Disable, InGenerator)},
    {kMasking, "mask", "systemd_mask", "masking ...", "masked.", "mask failed", FORMS(Mask, )},
    {kMasking, "unmask", "systemd_unmask", "unmasking ...", "unmasked.", "unmask failed", FORMS(Unmask, )},
};

class Operations : public Machine {
protected:
    Operations()
    {
        for (const std::string unit : {"a", "b", "c"}) {
            Write("/usr/lib/systemd/system/" + unit + ".service", "[X-Tarvix]\nName=Service " + unit + "\n");
        }
        Write("/usr/lib/systemd/system/nameless.service", "");
        WriteProgram("/usr/mero/bin/merologset",
                     "for a; do printf '<%s>' \"$a\"; done >> /run/events; echo >> /run/events");
    }

    static std::string Events()
    {
        std::string events = Read("/run/events");
        fs::remove("/run/events");
        return events;
    }
};

TEST_F(Operations, EveryFormRunsItsCommand)
{
    MLIBCSzList* none = nullptr;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        (void)Log();
        const std::string run = operation.command + (operation.command == "reload" ? " --no-block " : " ");
        const Texts both = operation.kind == kMasking ? Texts{run + "a", run + "b"} : Texts{run + "a b"};
        Texts failed, expected = both;
        expected.insert(expected.end(), {run + "a", run + "a"});
        expected.insert(expected.end(), both.begin(), both.end());
        EXPECT_TRUE(operation.list({"a", "b"}, failed) && failed.empty());
        Texts log = Log();
        const auto isTime = [&](auto& line) { return line.find("time for [/usr/bin/systemctl " + run) != line.npos; };
        EXPECT_EQ(std::erase_if(log, isTime), operation.kind == Kind::Action ? 0 : both.size());
        EXPECT_THAT(log, ElementsAre("INFO " + operation.file + ": [a, b] " + operation.doing,
                                     "INFO " + operation.file + ": [a, b] " + operation.done));
        EXPECT_TRUE(operation.single("a") && operation.fromC("a") == 1 && operation.RunGroup(&none));
        Texts calls = Calls();
        std::erase_if(calls, [](const std::string& call) { return call.starts_with("list-jobs "); });
        EXPECT_EQ(calls, expected);
    }
    CommandOptions moved, options = std::move(moved.SetNoReload().SetRunTime());
    Texts failed;
    EXPECT_TRUE(MEROSystemdEnableWithOptions({"a", "b"}, options, failed) &&
                MEROSystemdDisableWithOptions({"a", "b"}, options, failed) &&
                MEROSystemdEnableWithOptionsInternal({"--now", "--force"}, {"a"}, failed) &&
                MEROSystemdDisableWithOptionsInternal({"--now", "--force"}, {"a"}, failed) &&
                MEROCSystemdMaskRunTime("a") == 1 && MEROCSystemdUnmaskRunTime("a") == 1 &&
                MEROSystemdStartIrreversibly("a") && MEROCSystemdStartIrreversibly("b") == 1 &&
                MEROSystemdReloadOrRestartWithOptions({"--quiet"}, {"a", "b"}, failed));
    EXPECT_THAT(Calls(), ElementsAre("enable --runtime --no-reload a b", "disable --runtime --no-reload a b",
                                     "enable --now --force a", "disable --now --force a", "mask --runtime a",
                                     "unmask --runtime a", "start --job-mode=replace-irreversibly a",
                                     "start --job-mode=replace-irreversibly b", "reload-or-restart --quiet a b"));
    EXPECT_TRUE(MEROSystemdReloadWithOptions({"--quiet"}, {"a"}, failed));
    EXPECT_EQ(Calls().back(), "reload --quiet --no-block a");
    EXPECT_TRUE(MEROSystemdEnableWithOptions({"a"}, moved.SetRunTime().SetNoReload(), failed)); // NOLINT: moved from
    EXPECT_EQ(Calls().back(), "enable a");
}

TEST_F(Operations, FailuresNameTheirUnits)
{
    const std::string output = "Job for b.service failed.\nmore\n", ended = ": ret=[5], reason:\n" + output;
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        const bool isEnablement = operation.kind == kEnablement;
        const std::string doing = "INFO [a, b] " + operation.doing, failed = operation.failed;
        const std::string code = operation.file == "systemd_start" ? "1" : operation.file == "systemd_stop" ? "2" : "";
        (void)Events();
        Systemctl({{"list-jobs *", "", 1}, {"* b", output, 5}});
        Texts list{"a", "b"}, before{"before"};
        list.shrink_to_fit(); // so that the first append moves it
        EXPECT_FALSE(operation.list(list, list));
        EXPECT_EQ(list, isEnablement ? (Texts{"a", "b", "a", "b"}) : (Texts{"a", "b", "b"}));
        const std::string event = "<merosystemd><00", a = "0" + code + "><Service a>\n",
                          b = "1" + code + "><Service b>\n";
        EXPECT_EQ(Events(), code.empty() ? "" : event + a + event + b);
        const std::string reason = failed + ": ret=[5], reason=[Job for b.service failed.\n, more\n]";
        EXPECT_EQ(Said(operation.file),
                  operation.kind == kMasking       ? (Texts{doing, "ERR " + reason, "ERR [a, b] " + failed + "."})
                  : operation.kind == Kind::Action ? (Texts{doing, "ERR [b] " + failed + ended})
                                                   : (Texts{doing, "ERR [a, b] " + failed + ended}));
        EXPECT_EQ(IsEnableStatusChanged("a") && IsEnableStatusChanged("b.service"), isEnablement);
        MLIBCSzList *pushed = MakeList({"before"}).release(), *none = nullptr;
        EXPECT_FALSE(operation.RunGroup(&pushed) || operation.RunGroup(&none) || none != nullptr);
        EXPECT_EQ(Items(List(pushed).get()), operation.kind == Kind::Action ? (Texts{"before", "b"}) : Texts{"before"});

        RemoveSystemctl();
        fs::remove_all(kFlags);
        EXPECT_FALSE(operation.list({"a", "b"}, before) || fs::exists(kFlags));
        EXPECT_THAT(before, ElementsAre("before", "a", "b"));
        EXPECT_EQ(Said(operation.file).back(),
                  (operation.kind == Kind::Action ? "ERR [before, a, b] " : "ERR [a, b] ") + failed + ".");
    }
    Systemctl({{"*", "no bus\n", 1}});
    Texts failed, list{"a"};
    EXPECT_FALSE(MEROSystemdRestart({"a"}, failed) || !failed.empty());
    EXPECT_EQ(Said("systemd_restart").back(), "ERR [] restart failed: ret=[1], reason:\nno bus\n");
    list.shrink_to_fit();
    EXPECT_FALSE(MEROSystemdEnableWithOptionsInternal(list, list, list) ||
                 MEROSystemdEnableWithOptions(list, CommandOptions(), list));
    EXPECT_EQ(list, Texts(4, "a"));
}

TEST_F(Operations, AnObserverSeesSystemctlsOutputAndChangesNothing)
{
    const Texts none, both{"a", "b"};
    Texts failed;
    using Call = std::function<bool(const SystemctlObserver&)>;
#define OBSERVED(Name) [&](auto& seen) { return MEROSystemd##Name##Observed(none, both, failed, seen); }
    const Call calls[] = {
        OBSERVED(Start),
        OBSERVED(Stop),
        OBSERVED(Restart),
        OBSERVED(TryRestart),
        OBSERVED(Reload),
        OBSERVED(ReloadOrRestart),
        OBSERVED(Mask),
        OBSERVED(Unmask),
        [&](auto& seen) { return MEROSystemdEnableObserved(none, both, failed, seen); },
        [&](auto& seen) { return MEROSystemdDisableObserved(none, both, failed, seen); },
        [&](auto& seen) { return MEROSystemdReenableObserved(both, failed, seen); },
        [&](auto& seen) { return MEROSystemdDaemonReloadObserved(seen); },
        [&](auto& seen) { return MEROSystemdDefaultTargetSetObserved("x.target", seen); },
        [&](auto& seen) { return MEROSystemdServiceStopByReasonObserved("new", both, failed, seen); },
        [&](auto& seen) { return MEROSystemdServiceStartByReasonObserved("old", both, failed, seen); },
        [&](auto& seen) { return MEROSystemdUninstallObserved(both, failed, seen); },
        [&](auto& seen) { return MEROSystemdResetFailedObserved(both, failed, seen); }, // last: observed only here
    };
    for (const std::string exitCode : {"0", "1"}) {
        SystemctlScript("echo \"$1\"; [ \"$1\" != is-enabled ] || echo masked; exit " + exitCode);
        for (const Call& call : calls) {
            const auto run = [&](const SystemctlObserver& observer) {
                failed.clear();
                fs::remove_all("/run/merosystemd"), fs::remove_all("/usr/mero/etc/merosystemd");
                Write("/run/merosystemd/reasons/a.service/old", "");
                (void)Calls(), (void)Log();
                const bool done = call(observer);
                Texts log = Log();
                std::erase_if(log, [](auto& line) { return line.find("Execute time") != line.npos; });
                return std::tuple(done, failed, log);
            };
            const auto unseen = run({});
            Texts seen, expected;
            EXPECT_EQ(run([&](int ret, const Texts& lines) { seen.push_back(lines.at(0) + std::to_string(ret)); }),
                      unseen);
            for (const std::string& line : Calls()) {
                const std::string verb = line.substr(0, line.find(' '));
                if (!line.starts_with("list-jobs") && !line.starts_with("is-enabled") && !line.starts_with("show") &&
                    (verb != "reset-failed" || &call == &calls[std::size(calls) - 1])) {
                    expected.push_back(verb + "\n" + exitCode);
                }
            }
            EXPECT_FALSE(expected.empty());
            EXPECT_EQ(seen, expected);
        }
    }
    Systemctl({});
    EXPECT_TRUE(MEROSystemdMaskObserved({"--runtime", "--root=/."}, {"a"}, failed, {}));
    EXPECT_THAT(Calls(), ElementsAre("mask --runtime --root=/. a"));
}

TEST_F(Operations, TheCurrentDialectQueuesARefusedListUnitByUnit)
{
    const std::string reason = ": Unit b.service not found.\n";
    for (const std::string dialect : {"classic", "current"}) {
        Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=" + dialect + "\n");
        Systemctl({{"*--show-transaction*", "Failed to start b.service" + reason, 5},
                   {"* a b", "Failed to enqueue jobs" + reason, 5},
                   {"* b", "Failed to start b.service" + reason, 5}});
        Texts failed;
        EXPECT_FALSE(MEROSystemdStartNoBlock({"a", "b"}, failed) || MEROSystemdStart({"b"}, failed));
        EXPECT_EQ(failed, dialect == "current" ? (Texts{"b", "b"}) : Texts{"b"});
        Texts calls{"start --no-block a b", "start --no-block --show-transaction a b", "start b"};
        dialect == "classic" ? calls.erase(calls.begin() + 1) : calls.end();
        EXPECT_EQ(Calls(), calls);
    }
}

TEST_F(Operations, UnitsCanBeEnabledByTheirFiles)
{
    const Texts units{"/opt/a.service", "pkg/b", "../c.mount", "//d@e", "/opt/../..x"};
    const Texts unfit{"..", ".", "", "/", "/opt/..", "x/.", "/opt/x.service/", "x/../", {"a\0/b", 4}, {"a/b\0", 4}};
    for (const Operation& operation : kOperations) {
        SCOPED_TRACE(operation.command);
        Texts failed, flags;
        fs::remove_all(kFlags);
        EXPECT_TRUE(operation.list(units, failed));
        EXPECT_THAT(Log(), Each(Not(HasSubstr("ERR "))));
        EXPECT_THAT(Calls().back(), EndsWith(operation.kind == kMasking ? " " + units.back() : Join(units, " ")));
        for (const auto& entry : fs::recursive_directory_iterator("/usr/mero")) {
            flags.push_back(entry.path().lexically_relative(kFlags));
        }
        if (operation.kind != kEnablement) { // the others create no files
            EXPECT_THAT(flags, Not(Contains("a.service")));
            continue;
        }
        EXPECT_THAT(flags, IsSupersetOf({"a.service", "b.service", "c.mount", "d@e.service", "..x.service"}));
        for (const std::string& name : unfit) {
            failed.clear();
            EXPECT_FALSE(operation.list({"a", name}, failed));
            EXPECT_THAT(failed, ElementsAre("a", name));
            EXPECT_THAT(Said(operation.file), ElementsAre("EndInFileNames(vecUnits)"));
        }
        EXPECT_TRUE(Calls().empty());
    }
    fs::remove_all(kFlags);
    Write(kFlags, "in the way of the flags' folder");
    EXPECT_TRUE(MEROSystemdEnable("a"));
    EXPECT_THAT(Said("systemd_internal_lib"), ElementsAre(StartsWith("ERR Failed to mkdir -p [" + kFlags)));
}

TEST_F(Operations, FailedUnitsAreFoundInSystemctlsMessages)
{
    struct Case {
        Texts units, lines, failed;
        std::string unexpected = "";
    };
    const Case cases[] = {
        {{"foo"}, {"Failed to start foo.service: Unit foo.service not found.\n"}, {"foo"}},
        {{"foo"}, {"Failed to reload-or-restart foo.service: Access denied\n"}, {"foo"}},
        {{"a", "b.mount"}, {"Job for b.mount canceled.\n"}, {"b.mount"}},
        {{"a"}, {"A dependency job for a.service failed. See 'journalctl -xe' for details.\n"}, {"a"}},
        {{"a", "b"},
         {"Job for b.service failed because the control process exited with error code.\n",
          "See \"systemctl status b.service\" and \"journalctl -xeu b.service\" for details.\n",
          "Job for a.service failed.\n", "Job for b.service failed.\n"},
         {"b", "a", "b"}},
        {{"a", "a.service"}, {"Job for a.service failed.\n"}, {"a.service"}}, // the later spelling
        {{"a"}, {"Warning: The unit file of a.service changed on disk.\n"}, {}},
        {{"a"}, {"Job for other.service failed.\n"}, {}, "other.service"},
        {{"a"}, {"Failed to connect to bus: No such file\n"}, {}, "bus"},
    };
    for (const Case& c : cases) {
        Texts failed{"before"}, expected{"before"};
        FailedUnitsGet(c.units, c.lines, failed);
        FailedUnitsCopy(c.failed, expected);
        EXPECT_EQ(failed, expected) << c.lines.front();
        EXPECT_EQ(Said("systemd_internal_lib"),
                  Texts(c.unexpected.empty() ? 0 : 1, "ERR unexpected failed unit [" + c.unexpected + "]."));
    }
    Texts list{"a", "b", "Job for b.service failed."};
    FailedUnitsCopy(list, list), FailedUnitsGet(list, list, list);
    EXPECT_EQ(list.size(), 8U) << "all three lists can be the same one";
    EXPECT_EQ(list.back(), "b");
}

TEST_F(Operations, StartsAndStopsAreWrittenToTheEventLog)
{
    MEROSystemdLogAction(1, false, {"a", "b", "c", "nameless", "missing"}, {"b"});
    MEROSystemdLogAction(2, true, {"a"}, {"c"});
    MEROSystemdLogAction(1, false, {"a", "b"}, {"a", "b", "b"});
    MEROSystemdLogAction(1, true, {"nameless", "missing"}, {});
    EXPECT_EQ(Events(), "<merosystemd><0001><Service a, Service c>\n<merosystemd><0011><Service b>\n"
                        "<merosystemd><0002><Service a>\n<merosystemd><0012><Service c>\n"
                        "<merosystemd><0011><Service a, Service b, Service b>\n");
    Texts held{"b"};
    EXPECT_FALSE(MEROSystemdStart({}, held));
    EXPECT_EQ(Events(), "<merosystemd><0011><Service b>\n") << "units on the caller's failed list are written";
    EXPECT_TRUE(MEROSystemdStartIrreversibly("a") && Events() == "<merosystemd><0001><Service a>\n");

    (void)Log();
    WriteProgram("/usr/mero/bin/merologset", "exit 1");
    MEROSystemdLogAction(1, true, {"a", "b"}, {});
    fs::remove("/usr/mero/bin/merologset");
    MEROSystemdLogAction(2, false, {"c"}, {"c"});
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_internal_lib: failed to write merolog for units: Service a, Service b",
                                   "ERR systemd_internal_lib: failed to write merolog for units: Service c"));
}

} // namespace
