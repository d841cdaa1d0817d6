#include "core/action_log.h"
#include "core/failed_units.h"
#include "support/operations.h"

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class FailedUnits : public Machine {};

TEST_F(FailedUnits, AreFoundInSystemctlsMessages)
{
    struct Case {
        Texts units, lines, failed;
    };
    const Case cases[] = {
        {{"foo.service"}, {"Failed to start foo.service: Unit foo.service not found.\n"}, {"foo.service"}},
        {{"foo"}, {"Failed to start foo.service: Unit foo.service not found.\n"}, {"foo"}},
        {{"foo"}, {"Failed to reload-or-restart foo.service: Access denied\n"}, {"foo"}},
        {{"bar"},
         {"Job for bar.service failed because the control process exited with error code.\n",
          "See \"systemctl status bar.service\" and \"journalctl -xeu bar.service\" for details.\n"},
         {"bar"}},
        {{"a", "b.mount"}, {"Job for b.mount canceled.\n"}, {"b.mount"}},
        {{"a"}, {"A dependency job for a.service failed. See 'journalctl -xe' for details.\n"}, {"a"}},
        {{"a", "b"},
         {"Job for b.service failed.\n", "Job for a.service failed.\n", "Job for b.service failed.\n"},
         {"b", "a", "b"}},
        {{"a", "a.service"}, {"Job for a.service failed.\n"}, {"a.service"}}, // the later spelling
        {{"a"}, {"Warning: The unit file of a.service changed on disk.\n"}, {}},
    };
    for (const Case& c : cases) {
        Texts failed{"before"};
        FailedUnitsGet(c.units, c.lines, failed);
        Texts expected{"before"};
        FailedUnitsCopy(c.failed, expected);
        EXPECT_EQ(failed, expected) << c.lines.front();
        EXPECT_THAT(Log(), IsEmpty()) << c.lines.front();
    }
}

TEST_F(FailedUnits, OnesThatWereNotAskedForAreLogged)
{
    Texts failed;
    FailedUnitsGet({"a"}, {"Job for other.service failed.\n", "Failed to connect to bus: No such file\n"}, failed);
    EXPECT_THAT(failed, IsEmpty());
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_internal_lib: unexpected failed unit [other.service].",
                                   "ERR systemd_internal_lib: unexpected failed unit [bus]."));
}

/// A list form that gets one list for all that it takes and gives, and what it appends when "b" fails, and when
/// systemctl cannot be started.
struct OneList {
    const char* name;
    std::function<bool(Texts&)> run;
    Texts failed, all;
    std::string events = ""; ///< of the former
};

#define PLAIN(Form) #Form, [](Texts & list) { return Form(list, list); }
#define OPTIONS(Form) #Form, [](Texts & list) { return Form(list, list, list); }
#define ENABLE(Form) #Form, [](Texts & list) { return Form(list, CommandOptions(), list); }
#define REASON(Form) #Form, [](Texts & list) { return Form("r", list, list); }
#define BLOCKING_OR_NOT(Name, events)                                                                                  \
    {PLAIN(MEROSystemd##Name), b, all, events}, {PLAIN(MEROSystemd##Name##NoBlock), b, all, events},                   \
    {                                                                                                                  \
        OPTIONS(MEROSystemd##Name##WithOptions), b, all, events                                                        \
    }

TEST_F(FailedUnits, MayBeAppendedToTheListOfTheUnits)
{
    const Texts units{"a", "b", "c.mount"}, b{"b"}, all = units, none, services{"a", "b"}, mount{"c.mount"};
    const Texts held{"c.mount", "b"}, unheld{"c.mount", "a", "b"}, sorted{"a", "b", "c.mount"};
    const std::string start = "0001 a\n0011 b\n", stop = "0002 a\n0012 b\n";
    const OneList forms[] = {
        BLOCKING_OR_NOT(Start, start),
        BLOCKING_OR_NOT(Stop, stop),
        BLOCKING_OR_NOT(Restart, ""),
        BLOCKING_OR_NOT(TryRestart, ""),
        BLOCKING_OR_NOT(Reload, ""),
        BLOCKING_OR_NOT(ReloadOrRestart, ""),
        {PLAIN(MEROSystemdEnable), all, all},
        {PLAIN(MEROSystemdDisable), all, all},
        {PLAIN(MEROSystemdReenable), all, all},
        {PLAIN(MEROSystemdEnableInGenerator), all, all},
        {PLAIN(MEROSystemdDisableInGenerator), all, all},
        {OPTIONS(MEROSystemdEnableWithOptionsInternal), all, all},
        {OPTIONS(MEROSystemdDisableWithOptionsInternal), all, all},
        {ENABLE(MEROSystemdEnableWithOptions), all, all},
        {ENABLE(MEROSystemdDisableWithOptions), all, all},
        {PLAIN(MEROSystemdMask), b, all},
        {PLAIN(MEROSystemdUnmask), b, all},
        {PLAIN(MEROSystemdResetFailed), b, all},
        {PLAIN(MEROSystemdUninstall), none, none}, // it names no unit that the list has
        {REASON(MEROSystemdServiceStopByReason), held, unheld, stop},
        {REASON(MEROSystemdServiceStartByReason), held, unheld, start},
        {REASON(MEROSystemdServiceReasonRemove), mount, mount},
        {"removed",
         [](Texts& list) {
             Texts failed;
             return UnlinkReasons("r", list, list, failed);
         },
         services, services},
        {"not removed",
         [](Texts& list) {
             Texts gone;
             return UnlinkReasons("r", list, gone, list);
         },
         mount, mount},
        {"both", [](Texts& list) { return UnlinkReasons(list[0], list, list, list); }, sorted, sorted},
        {"copied", [](Texts& list) { return FailedUnitsCopy(list, list), false; }, all, all},
        {"found",
         [](Texts& list) {
             list.push_back("Job for b.service failed.");
             FailedUnitsGet(list, list, list), list.erase(list.begin() + 3);
             return false;
         },
         b, b},
    };
    for (const std::string unit : {"a", "b"}) {
        Write("/usr/lib/systemd/system/" + unit + ".service", "[X-Tarvix]\nName=" + unit + "\n");
    }
    WriteProgram("/usr/mero/bin/merologset", "echo \"$2 $3\" >> /run/events");
    for (const OneList& form : forms) {
        SCOPED_TRACE(form.name);
        std::filesystem::remove("/run/events");
        Systemctl({{"list-jobs*", "", 1}, {"* b*", "Job for b.service failed.\n", 1}});
        Texts list = units, expected = units;
        list.shrink_to_fit(); // the first one that is appended moves it
        FailedUnitsCopy(form.failed, expected);
        EXPECT_FALSE(form.run(list));
        EXPECT_EQ(list, expected);
        EXPECT_EQ(Read("/run/events"), form.events);
        RemoveSystemctl();
        (list = units).shrink_to_fit(), expected = units;
        FailedUnitsCopy(form.all, expected);
        EXPECT_FALSE(form.run(list));
        EXPECT_EQ(list, expected);
    }
}

class ActionLog : public Machine {
protected:
    ActionLog()
    {
        for (const std::string unit : {"a", "b", "c"}) {
            Write("/usr/lib/systemd/system/" + unit + ".service", "[X-Tarvix]\nName=Service " + unit + "\n");
        }
        Write("/usr/lib/systemd/system/nameless.service", "");
        WriteProgram("/usr/mero/bin/merologset",
                     "for a; do printf '<%s>' \"$a\"; done >> /run/events; echo >> /run/events");
    }
};

TEST_F(ActionLog, SuccessAndFailureAreSeparateEvents)
{
    MEROSystemdLogAction(1, false, {"a", "b", "c", "nameless", "missing"}, {"b"});
    MEROSystemdLogAction(2, true, {"a"}, {});
    MEROSystemdLogAction(2, true, {"a"}, {"c"});
    MEROSystemdLogAction(1, false, {"a", "b"}, {"a", "b", "b"});
    MEROSystemdLogAction(1, true, {"nameless", "missing"}, {});
    EXPECT_EQ(Read("/run/events"), "<merosystemd><0001><Service a, Service c>\n"
                                   "<merosystemd><0011><Service b>\n"
                                   "<merosystemd><0002><Service a>\n"
                                   "<merosystemd><0002><Service a>\n"
                                   "<merosystemd><0012><Service c>\n"
                                   "<merosystemd><0011><Service a, Service b, Service b>\n");
    EXPECT_THAT(Log(), IsEmpty());
}

TEST_F(ActionLog, AToolThatIsMissingOrFailsIsLogged)
{
    WriteProgram("/usr/mero/bin/merologset", "exit 1");
    MEROSystemdLogAction(1, true, {"a", "b"}, {});
    std::filesystem::remove("/usr/mero/bin/merologset");
    MEROSystemdLogAction(2, false, {"c"}, {"c"});
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_internal_lib: failed to write merolog for units: Service a, Service b",
                                   "ERR systemd_internal_lib: failed to write merolog for units: Service c"));
}

} // namespace
