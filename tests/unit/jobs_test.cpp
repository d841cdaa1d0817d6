#include "support/machine.h"
#include "unit/job_info.h"

#include <merocore/error.h>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";

TEST(JobInfoParse, ReadsFourFields)
{
    struct Case {
        std::string line;
        bool parsed;
        std::string text;
    };
    const Case cases[] = {
        {"7 foo.service start running\n", true, "7 foo.service start running"},
        {"8 bar.service stop waiting", true, "8 bar.service stop waiting"},
        {"9 a.service restart waiting", true, "9 a.service unknow waiting"},
        {"9 a.service start dancing", true, "9 a.service start unknow"},
        {"12x a.service start running", true, "12 a.service start running"},
        {"x a.service start running", true, "0 a.service start running"},
        {"-1 a.service start running", true, "0 a.service start running"},
        {"4294967295 a.service start running", true, "4294967295 a.service start running"},
        {"4294967296 a.service start running", true, "0 a.service start running"},
        {"9 a.service start", false, ""},
        {"9 a.service start running now", false, ""},
        {"9  a.service start running", false, ""}, // two blanks make an empty field
        {" \n", false, ""},
    };
    for (const Case& c : cases) {
        JobInfo info;
        EXPECT_EQ(JobInfoParse(c.line, info), c.parsed) << c.line;
        if (c.parsed) {
            EXPECT_EQ(info.ToString(), c.text);
        }
    }
}

TEST(JobInfoParse, AnUnknownWordKeepsWhatWasThere)
{
    JobInfo info{.id = 1, .unit = "a", .type = JobType::Stop, .state = JobState::Running};
    EXPECT_TRUE(JobInfoParse("2 b.service reload sleeping", info));
    EXPECT_EQ(info.ToString(), "2 b.service stop running");
}

TEST(JobInfo, AFreshOneIsUnknown)
{
    EXPECT_EQ(JobInfo().ToString(), "0  unknow unknow");
    EXPECT_THROW((void)jobStringMap.types.right.at("restart"), std::out_of_range);
}

class Jobs : public Machine {
protected:
    /// The queue as the list shows it, one job a line.
    std::vector<std::string> List()
    {
        std::map<std::uint32_t, JobInfo> jobs;
        listed_ = MEROSystemdIntJobList(jobs);
        std::vector<std::string> texts;
        for (const auto& [id, job] : jobs) {
            EXPECT_EQ(id, job.id);
            texts.push_back(job.ToString());
        }
        return texts;
    }
    bool listed_ = false;
    std::vector<std::string> log_;
};

TEST_F(Jobs, TheListLosesOnlyTheLinesThatCannotBeRead)
{
    Systemctl({{"list-jobs --no-legend", "9 b.service stop waiting\nrubbish\n7 a.service start running\n", 1}});
    EXPECT_THAT(List(), ElementsAre("7 a.service start running", "9 b.service stop waiting"));
    EXPECT_TRUE(listed_);
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_internal_lib: Failed to parse job info: [rubbish\n]"));

    MLIBCErrSetEx(0x1234, "mark", 1);
    Systemctl({{"list-jobs *", "", 1}});
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_TRUE(listed_);
    EXPECT_EQ(MLIBCErrGet(), 0x1234) << "a machine without a configuration is an ordinary one";
}

TEST_F(Jobs, EachDialectHasItsExitCodeAndItsColumns)
{
    const std::string kPadded = "  7 a.service                  start running\n123 a-long-name.service stop  waiting\n";
    const std::string kSingle = "7 a.service start running\n123 a-long-name.service stop waiting\n";
    struct Case {
        std::string configuration;
        int exitCode;
        std::string output;
        bool listed;
        std::size_t jobs;
    };
    const Case cases[] = {
        {"dialect=classic\n", 1, kSingle, true, 2}, {"dialect=classic\n", 0, kSingle, false, 0},
        {"dialect=classic\n", 1, kPadded, true, 0}, {"dialect=current\n", 0, kPadded, true, 2},
        {"dialect=current\n", 0, kSingle, true, 2}, {"dialect=current\n", 1, kPadded, false, 0},
        {"other=current\n", 1, kSingle, true, 2},   {"dialect=klingon\n", 1, kSingle, true, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.configuration + c.output);
        Write(kConfiguration, c.configuration);
        Systemctl({{"list-jobs *", c.output, c.exitCode}});
        EXPECT_EQ(List().size(), c.jobs);
        EXPECT_EQ(listed_, c.listed);
        const bool warns = c.output == kPadded && c.configuration != "dialect=current\n";
        log_ = Log();
        EXPECT_EQ(warns, !log_.empty() && log_[0].starts_with("WARNING systemctl_dialect: systemctl does not seem"));
    }
    EXPECT_THAT(log_, ::testing::Contains("WARNING systemctl_dialect: Unknown dialect [klingon] in "
                                          "[/usr/mero/etc/merosystemd/systemctl.conf], using classic."));
}

TEST_F(Jobs, TheJobOfOneUnit)
{
    struct Case {
        Answer answer;
        bool found;
        std::vector<std::string> log;
    };
    const Case cases[] = {
        {{"list-jobs --no-legend nfs.service", "7 nfs.service start running\n", 1}, true, {}},
        {{"list-jobs *", "", 1}, false, {}},
        {{"list-jobs *", "", 4}, false, {}},
        {{"list-jobs *", "no bus\n", 4},
         false,
         {"ERR systemd_internal_lib: Failed to list-jobs [nfs], ret=[4], reason=[no bus\n]"}},
        {{"list-jobs *", "no bus\n", 1}, false, {"ERR systemd_internal_lib: Failed to parse job info: [no bus\n]"}},
    };
    for (const Case& c : cases) {
        Systemctl({c.answer});
        JobInfo info;
        EXPECT_EQ(MEROSystemdIntJobGet("nfs", info), c.found) << c.answer.output;
        EXPECT_EQ(info.ToString(), c.found ? "7 nfs.service start running" : "0  unknow unknow");
        EXPECT_EQ(Log(), c.log);
    }
}

TEST_F(Jobs, FailuresAreToldAndNothingIsThrown)
{
    JobInfo info;
    Systemctl({{"list-jobs *", "7 a.service start running\n", 0}});
    EXPECT_THAT(List(), IsEmpty());
    RemoveSystemctl();
    EXPECT_FALSE(MEROSystemdIntJobGet("a", info));
    EXPECT_THAT(List(), IsEmpty());
    EXPECT_FALSE(listed_);
    EXPECT_THAT(
        Log(),
        ElementsAre("ERR systemd_internal_lib: Failed to list-jobs, ret=[0], reason=[7 a.service start running\n]",
                    "ERR systemd_systemctl: fail to execute [/usr/bin/systemctl list-jobs --no-legend a.service].",
                    "ERR systemd_internal_lib: list-jobs failed.",
                    "ERR systemd_systemctl: fail to execute [/usr/bin/systemctl list-jobs --no-legend].",
                    "ERR systemd_internal_lib: list-jobs failed."));
}

} // namespace
