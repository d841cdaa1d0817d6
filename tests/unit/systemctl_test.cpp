#include "core/command_options.h"
#include "support/child.h"
#include "support/machine.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace {

using Texts = std::vector<std::string>;

/// What the callback was given; exit code -1 when it was not called.
struct Seen {
    int exitCode = -1;
    Texts lines{};
};

class SystemctlRuns : public Machine {
protected:
    void SetBootStep(const std::string& step) { Write("/run/merobootseq/boot-step", step + "\n"); }

    Seen Run(const std::string& verb, const Texts& units)
    {
        Seen seen;
        MEROSystemdSystemctl(verb, units, [&](int exitCode, const Texts& lines) {
            seen = {exitCode, lines};
            return true;
        });
        return seen;
    }
};

TEST_F(SystemctlRuns, TheCommandLineHasAFixedOrder)
{
    const auto yes = [](int, const Texts&) { return true; };
    const Texts options{"--quiet", "--runtime"};
    MEROSystemdSystemctl("enable", {"a.service", "b"}, yes);
    MEROSystemdSystemctl("enable", options, {"a.service"}, yes);
    MEROSystemdSystemctlUltron("enable", SystemctlOptsBuilder().SetCmdOpts(&options).Build(), {}, yes);
    MEROSystemdSystemctl("daemon-reload", {}, yes);
    EXPECT_THAT(Calls(), ElementsAre("enable a.service b", "enable --quiet --runtime a.service",
                                     "enable --quiet --runtime", "daemon-reload"));
}

TEST_F(SystemctlRuns, AnOrdinaryUserTalksToTheirOwnManagerUnlessForced)
{
    Write("/etc/pam.d/systemd-user", "session required pam_permit.so\n");
    Write("/run/systemctl.calls", "");
    std::filesystem::permissions("/run/systemctl.calls", std::filesystem::perms(0666));
    const Texts options{"--quiet"};
    const auto run = [&](bool forceSystem) {
        const SystemctlOpts opts = SystemctlOptsBuilder().SetCmdOpts(&options).SetForceSystem(forceSystem).Build();
        return MEROSystemdSystemctlUltron("start", opts, {"a"}, [](int, const Texts&) { return true; }) ? 0 : 1;
    };
    EXPECT_EQ(RunAs(65534, [&] { return run(false) + run(true); }), 0);
    EXPECT_THAT(Calls(), ElementsAre("start --user --quiet a", "start --quiet a"));
    EXPECT_THAT(Log(), Contains("ERR systemd_putenv_by_pam_systemd: Failed to put env by pam systemd for 65534"));
}

TEST_F(SystemctlRuns, TheCallbackGetsBothOutputsAsLinesAndItsVerdictIsTheResult)
{
    SystemctlScript("echo one; echo two >&2; printf '\\nlast'; exit 3");
    const Seen seen = Run("show", {"a"});
    EXPECT_EQ(seen.exitCode, 3);
    EXPECT_THAT(seen.lines, ElementsAre("one\n", "two\n", "\n", "last"));
    EXPECT_FALSE(MEROSystemdSystemctl("show", {"a"}, [](int, const Texts&) { return false; }));
}

TEST_F(SystemctlRuns, ARunThatASignalEndsCountsAsExitCodeZero)
{
    SystemctlScript("echo begun; kill -9 $$");
    const Seen seen = Run("show", {"a"});
    EXPECT_EQ(seen.exitCode, 0);
    EXPECT_THAT(seen.lines, ElementsAre("begun\n"));
}

TEST_F(SystemctlRuns, ALostWaitStatusCountsAsFailure)
{
    signal(SIGCHLD, SIG_IGN);
    const Seen seen = Run("show", {"a"});
    signal(SIGCHLD, SIG_DFL);
    EXPECT_EQ(seen.exitCode, 255);
}

TEST_F(SystemctlRuns, AMissingProgramThrowsAndTheCallbackIsNotCalled)
{
    RemoveSystemctl();
    EXPECT_THROW(MEROSystemdSystemctl("start", {"a", "b"},
                                      [](int, const Texts&) -> bool {
                                          ADD_FAILURE();
                                          return true;
                                      }),
                 std::exception);
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_systemctl: fail to execute [/usr/bin/systemctl start a b]."));
}

TEST_F(SystemctlRuns, AnEmptyCallbackThrows)
{
    EXPECT_THROW(MEROSystemdSystemctl("show", {"a"}, nullptr), std::bad_function_call);
}

TEST_F(SystemctlRuns, TheRunTimeIsLoggedWhenWanted)
{
    const SystemctlOpts opts = SystemctlOptsBuilder().SetCalRunTime(true).Build();
    SystemctlScript("sleep 0.1");
    MEROSystemdSystemctlUltron("show", opts, {"a"}, [](int, const Texts&) { return true; });
    EXPECT_THAT(Log(), ElementsAre(MatchesRegex("INFO systemd_systemctl: Execute time for "
                                                "\\[/usr/bin/systemctl show a\\] is [1-9][0-9]{2,4} ms")));
}

TEST_F(SystemctlRuns, ThePolicyHoldsInTheEarlyBootSteps)
{
    const std::string kStart = "7 a.service start waiting\n";
    const std::string kStop = "7 a.service stop running\n";
    const std::string kRestart = "7 a.service restart waiting\n"; // a type that the tables do not know
    struct Case {
        std::string verb, step, job;
        std::string run; ///< what is run in the end; empty: skipped
        bool asked;      ///< whether the job was asked for
    };
    const Case cases[] = {
        {"start", "2", kStart, "", true},
        {"start", "2", kStop, "start a", true},
        {"start", "2", kRestart, "start a", true},
        {"start", "2", "", "start a", true},
        {"stop", "1", kStart, "stop a", true},
        {"stop", "1", kStop, "", true},
        {"restart", "3", kStart, "", true},
        {"restart", "5", kRestart, "", true},
        {"restart", "0", "", "restart a", true},
        {"try-restart", "0", kRestart, "try-restart a", true}, // by its filter, not by the policy
        {"reload-or-restart", "0", kStart, "reload-or-restart a", false},
        {"start", "4", kStart, "start a", false},
        {"start", "6", kStart, "start a", false},
        {"start", "-1", kStart, "start a", false},
        {"start", "none", kStart, "start a", false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.verb + " in step " + c.step + " with " + c.job);
        SetBootStep(c.step);
        Systemctl({{"list-jobs *", c.job, 1}});
        Texts expected;
        if (c.asked) {
            expected.push_back("list-jobs --no-legend a.service");
        }
        if (c.run.empty()) {
            EXPECT_THROW(Run(c.verb, {"a"}), std::exception);
        } else {
            expected.push_back(c.run);
            EXPECT_EQ(Run(c.verb, {"a"}).exitCode, 0);
        }
        EXPECT_EQ(Calls(), expected);
    }
}

TEST_F(SystemctlRuns, ASkippedCommandIsLoggedWhole)
{
    SetBootStep("2");
    Systemctl({{"list-jobs * b.service", "42 b.service start waiting\n", 1}});
    EXPECT_THROW(Run("start", {"a", "b", "c"}), std::exception);
    EXPECT_THAT(Log(), ElementsAre("INFO systemd_systemctl: unit is in job list: [42 b.service start waiting]",
                                   "INFO systemd_systemctl: Skip execute by service control policy: "
                                   "[/usr/bin/systemctl start a b c]"));
    EXPECT_THAT(Calls(), ElementsAre("list-jobs --no-legend a.service", "list-jobs --no-legend b.service"))
        << "the first unit that decides ends the scan";
}

TEST_F(SystemctlRuns, AReloadOfAQueuedUnitDoesNotBlock)
{
    SetBootStep("2");
    Systemctl({{"list-jobs * b.service", "42 b.service start waiting\n", 1}});
    Run("reload", {"a.service", "b.service"});
    EXPECT_EQ(Calls().back(), "reload --no-block a.service b.service");
}

TEST_F(SystemctlRuns, UnitsThatAreAboutToStopAreNeitherTriedNorReloaded)
{
    Systemctl({{"list-jobs * a.service", "1 a.service stop waiting\n", 1},
               {"list-jobs * b.service", "2 b.service restart waiting\n", 1}});
    for (const std::string verb : {"try-restart", "reload"}) {
        Run(verb, {"a", "b", "c"});
        EXPECT_EQ(Calls().back(), verb + " b c") << "an unknown type after a stop is not a stop";
        EXPECT_THAT(Log(), ElementsAre("INFO systemd_systemctl: [a] type [2] state [2] is going to stop."));
        for (const Texts& none : {Texts{"a"}, Texts{}}) {
            const Seen seen = Run(verb, none);
            EXPECT_EQ(seen.exitCode, 0);
            EXPECT_THAT(seen.lines, IsEmpty());
            EXPECT_THAT(Calls(), ::testing::Not(Contains(verb)));
        }
        (void)Log();
    }
    Run("reload-or-restart", {"a"});
    EXPECT_THAT(Calls(), ElementsAre("reload-or-restart a"));
}

TEST(CommandOptions, AppendsItsOptionsInOrder)
{
    CommandOptions options;
    Texts out{"before"};
    GetEnableDisableOptions(options, out);
    EXPECT_THAT(out, ElementsAre("before"));
    GetEnableDisableOptions(options.SetNoReload().SetRunTime(), out);
    EXPECT_THAT(out, ElementsAre("before", "--runtime", "--no-reload"));

    CommandOptions moved = std::move(options);
    GetEnableDisableOptions(options.SetRunTime(), out); // NOLINT: a moved-from object must do nothing
    EXPECT_THAT(out, ElementsAre("before", "--runtime", "--no-reload"));
}

} // namespace
