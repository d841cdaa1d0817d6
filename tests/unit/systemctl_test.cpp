#include "support/child.h"
#include "support/operations.h"

#include <cstdlib>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

/// The callback's arguments; exit code -1 if it was not called.
struct Seen {
    int exitCode = -1;
    Texts lines{};
};

class SystemctlRuns : public Machine {
protected:
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

TEST_F(SystemctlRuns, TheCallbackGetsTheExitCodeAndAllOutputAsLines)
{
    struct Case {
        std::string script;
        int exitCode;
        Texts lines;
    };
    const Case cases[] = {
        {"echo one; echo two >&2; printf '\\nlast'; exit 3", 3, {"one\n", "two\n", "\n", "last"}},
        {"echo begun; kill -9 $$", 0, {"begun\n"}}, // as the header promises
    };
    for (const Case& c : cases) {
        SystemctlScript(c.script);
        const Seen seen = Run("show", {"a"});
        EXPECT_EQ(seen.exitCode, c.exitCode) << c.script;
        EXPECT_EQ(seen.lines, c.lines) << c.script;
    }
    signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(Run("show", {"a"}).exitCode, 255) << "its exit status is lost";
    signal(SIGCHLD, SIG_DFL);
    EXPECT_FALSE(MEROSystemdSystemctl("show", {"a"}, [](int, const Texts&) { return false; }));
    EXPECT_THROW(MEROSystemdSystemctl("show", {"a"}, nullptr), std::bad_function_call);

    SystemctlScript("sleep 0.1");
    const SystemctlOpts timed = SystemctlOptsBuilder().SetCalRunTime(true).Build();
    EXPECT_TRUE(MEROSystemdSystemctlUltron("show", timed, {"a"}, [](int, const Texts&) { return true; }));
    RemoveSystemctl();
    EXPECT_THROW(Run("start", {"a", "b"}), std::exception);
    EXPECT_THAT(Said("systemd_systemctl"), ElementsAre(MatchesRegex("INFO Execute time for \\[/usr/bin/systemctl show "
                                                                    "a\\] is [1-9][0-9]{2,4} ms"),
                                                       "ERR fail to execute [/usr/bin/systemctl start a b]."));
}

TEST_F(SystemctlRuns, ThePolicyHoldsInTheEarlyBootSteps)
{
    const std::string start = "7 a.service start waiting\n", stop = "7 a.service stop running\n";
    const std::string restart = "7 a.service restart waiting\n"; // a type that the tables do not know
    struct Case {
        std::string verb, step, job;
        std::string run;     ///< the command that runs; empty: skipped
        std::size_t queries; ///< for the unit's job
    };
    const Case cases[] = {
        {"start", "2", start, "", 1},
        {"start", "2", stop, "start a", 1},
        {"start", "2", restart, "start a", 1},
        {"start", "2", "", "start a", 1},
        {"stop", "1", start, "stop a", 1},
        {"stop", "1", stop, "", 1},
        {"restart", "3", start, "", 1},
        {"restart", "5", restart, "", 1},
        {"restart", "0", "", "restart a", 1},
        {"reload", "2", start, "reload --no-block a", 2},
        {"try-restart", "0", restart, "try-restart a", 1}, // through its filter, not the policy
        {"reload-or-restart", "0", start, "reload-or-restart a", 0},
        {"start", "4", start, "start a", 0},
        {"start", "6", start, "start a", 0},
        {"start", "-1", start, "start a", 0},
        {"start", "none", start, "start a", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.verb + " in step " + c.step + " with " + c.job);
        Write("/run/merobootseq/boot-step", c.step + "\n");
        Systemctl({{"list-jobs *", c.job, 1}});
        Texts expected(c.queries, "list-jobs --no-legend a.service");
        if (c.run.empty()) {
            EXPECT_THROW(Run(c.verb, {"a"}), std::exception);
        } else {
            expected.push_back(c.run);
            EXPECT_EQ(Run(c.verb, {"a"}).exitCode, 0);
        }
        EXPECT_EQ(Calls(), expected);
    }
    Write("/run/merobootseq/boot-step", "2\n");
    Systemctl({{"list-jobs * b.service", "42 b.service start waiting\n", 1}});
    (void)Log();
    EXPECT_THROW(Run("start", {"a", "b", "c"}), std::exception);
    EXPECT_THAT(Said("systemd_systemctl"),
                ElementsAre("INFO unit is in job list: [42 b.service start waiting]",
                            "INFO Skip execute by service control policy: [/usr/bin/systemctl start a b c]"));
    EXPECT_EQ(Calls().size(), 2U) << "the first unit that decides ends the scan";
}

TEST_F(SystemctlRuns, UnitsAboutToStopAreNeitherRestartedNorReloaded)
{
    Systemctl({{"list-jobs * a.service", "1 a.service stop waiting\n", 1},
               {"list-jobs * b.service", "2 b.service restart waiting\n", 1}});
    for (const std::string verb : {"try-restart", "reload"}) {
        Run(verb, {"a", "b", "c"});
        EXPECT_EQ(Calls().back(), verb + " b c") << "an unknown job type after a stop job is not a stop";
        EXPECT_THAT(Said("systemd_systemctl"), ElementsAre("INFO [a] type [2] state [2] is going to stop."));
        for (const Texts& none : {Texts{"a"}, Texts{}}) {
            const Seen seen = Run(verb, none);
            EXPECT_TRUE(seen.exitCode == 0 && seen.lines.empty());
            EXPECT_THAT(Calls(), Each(StartsWith("list-jobs")));
        }
        (void)Log();
    }
    Run("reload-or-restart", {"a"});
    EXPECT_THAT(Calls(), ElementsAre("reload-or-restart a"));
}

TEST_F(SystemctlRuns, AnOrdinaryUserGetsTheEnvironmentOfTheirSession)
{
    constexpr uid_t kNobody = 65534, kStranger = 54321; // not in passwd
    struct Case {
        uid_t uid;
        std::string stack; ///< the session's PAM stack
        std::string after; ///< the variables afterwards
        Texts said;
    };
    const std::string put = "ERR Failed to put env by pam systemd for ", kept = "before none";
    const Case cases[] = {
        {kNobody, "pam_env.so readenv=0 conffile=/run/pam_env.conf", "session fresh", {}},
        {0, "pam_env.so readenv=0 conffile=/run/pam_env.conf", kept, {}},
        {kStranger, "pam_permit.so", kept, {"ERR Failed to GetUsername", put + "54321"}},
        {kNobody, "pam_permit.so", kept, {"ERR The pam_getenvlist is empty", put + "65534"}},
        {kNobody, "pam_deny.so", kept, {"ERR Failed to pam_open_session", put + "65534"}},
    };
    Write("/run/pam_env.conf", "MERO_NEW DEFAULT=fresh\nMERO_OLD DEFAULT=session\n");
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stack + " " + std::to_string(c.uid));
        Write("/etc/pam.d/systemd-user", "session required " + c.stack + "\n");
        const auto changes = [&] {
            setenv("MERO_OLD", "before", 1), setenv("MERO_NEW", "none", 1);
            MEROSystemdPutEnvByPAMSystemd();
            return std::string(std::getenv("MERO_OLD")) + " " + std::getenv("MERO_NEW") == c.after ? 0 : 1;
        };
        EXPECT_EQ(RunAs(c.uid, changes), 0);
        Texts said = Said("systemd_putenv_by_pam_systemd");
        for (std::string& line : said) {
            line = line.substr(0, line.find(" (")); // without PAM's own text
        }
        EXPECT_EQ(said, c.said);
    }
    // From systemd 257 on PAM sets nothing. The user's own folder is used, unless it could be another user's.
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    Write("/etc/pam.d/systemd-user", "session required pam_permit.so\n");
    const std::string folder = "/run/user/65534";
    const std::tuple<std::string, mode_t, uid_t, bool> folders[] = {
        {"bus", 0700, kNobody, true},  {"systemd/private", 0755, kNobody, true},
        {"bus", 0700, 0, false},       {"bus", 0720, kNobody, false},
        {"bus", 0702, kNobody, false}, {"other", 0700, kNobody, false}};
    for (const auto& [holds, mode, owner, isTaken] : folders) {
        std::filesystem::remove_all(folder);
        Write(folder + "/" + holds, "");
        EXPECT_EQ(chmod(folder.c_str(), mode) + chown(folder.c_str(), owner, 0), 0);
        const auto finds = [&] {
            MEROSystemdPutEnvByPAMSystemd();
            const char* found = std::getenv("XDG_RUNTIME_DIR");
            return found != nullptr && found == folder ? 1 : 0;
        };
        EXPECT_EQ(RunAs(kNobody, finds), isTaken) << holds << " " << mode;
        EXPECT_EQ(Said("systemd_putenv_by_pam_systemd").empty(), isTaken);
    }
}

TEST_F(SystemctlRuns, HostileNamesBecomeNoOptionArgumentOrLogLine)
{
    const std::string forged = "x\nNov 21 00:00:00 nas sshd[1]: Accepted password for root", tooLong(5'000, 'x');
    const std::string names[] = {
        "..",          ".",         "a/../b",    "../../../etc/passwd",
        "/etc/passwd", "-",         "--version", "--root=/tmp",
        "-rf",         "a b",       " ",         "a\tb",
        "a\nb",        forged,      "\r",        "\x1b[2J",
        "*",           "n?s",       "[a-z]*",    "\\",
        "a'b\"c",      "$(reboot)", ";reboot",   tooLong,
        "\xff\xfe",    "\xc3",      "%s%n",      "x@",
        "@",           "-.mount",
    };
    // The stand-in records its number of arguments, the options, and the number of arguments after "--".
    SystemctlScript("after=0\nfor word; do\n  if [ \"$ended\" ]; then after=$((after + 1)); continue; fi\n"
                    "  case $word in --) ended=1 ;; -*) options=\"$options $word\" ;; esac\ndone\n"
                    "echo \"$#|$options|$after\" >> /run/seen\nexit 1\n");
    for (const std::string& name : names) {
        Texts failed;
        std::string value;
        EXPECT_FALSE(MEROSystemdStart(name) || MEROSystemdStop({name}, failed) || MEROSystemdMask(name) ||
                     MEROSystemdResetFailed({name}, failed) || MEROSystemdShow(name, "Id", value))
            << name;
        EXPECT_EQ(MEROSystemdActiveStatusGet(name), -1);
        const std::string verb = name.starts_with('-') ? "3||1\n" : "2||0\n";
        const std::string query = name.starts_with('-') ? "5| --property|1\n" : "4| --property|0\n";
        EXPECT_EQ(Read("/run/seen"), verb + verb + verb + verb + query + query) << name;
        fs::remove("/run/seen");
        for (const std::string& line : Log()) {
            EXPECT_THAT(line, Not(MatchesRegex("(.|\n)*[\x01-\x08\x0b-\x1f].*"))) << line;
            EXPECT_THAT(line, Not(HasSubstr("\nNov 21"))) << line;
        }
    }
}

} // namespace
