#include "core/action_log.h"
#include "core/failed_units.h"
#include "support/machine.h"

#include <gmock/gmock.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using Texts = std::vector<std::string>;

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
