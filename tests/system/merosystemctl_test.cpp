#include "system/box.h"

#include <gmock/gmock.h>

using namespace MERO::Test;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace {

ShellResult Tool(const std::string& arguments)
{
    return Shell(std::string(MEROSYSTEMCTL) + " " + arguments);
}

class Merosystemctl : public Box {
protected:
    Merosystemctl()
    {
        Unit("web.service", "[Service]\nExecStart=/bin/sleep infinity\nExecReload=/bin/true\n"
                            "[X-Tarvix]\nName=Web \"server\"\nNameI18n=web:title\nDefaultEnable=yes\nFirewallSections=http https\n"
                            "BelongsTo=multi-user.target other.service\n");
        Unit("slow.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep 60\n");
        Load();
    }
};

TEST_F(Merosystemctl, ExitCodesAndMessages)
{
    struct Case {
        std::string arguments;
        int exitCode;
        std::string output; ///< a regular expression
    };
    const std::string kSeeLog = "merosystemctl: the reason is in the log: journalctl -t merosystemctl\n";
    const Case cases[] = {
        {"start web", 0, ""},
        {"reload web", 0, ""},
        {"reload --no-block web", 0, ""},
        {"restart web", 0, ""},
        {"try-restart web", 0, ""},
        {"reload-or-restart web", 0, ""},
        {"stop web", 0, ""},
        {"start web unknown other.socket", 1,
         "merosystemctl: other.socket: start failed\nmerosystemctl: unknown: start failed\n" + kSeeLog},
        {"start --no-block slow", 0, ""},
        {"jobs", 0, "JOB +UNIT +TYPE +STATE\n[0-9]+ +slow.service  start  running\n"},
        {"stop slow", 0, ""},
        {"start --irreversibly --no-block slow", 0, ""},
        {"stop slow", 1, "merosystemctl: (slow: stop failed|stop failed, and systemctl named no unit)\n" + kSeeLog},
        {"info unknown", 1, "merosystemctl: unknown: no unit file .*\n"},
        {"", 2, "A subcommand is required\n.*"},
        {"start", 2, "UNIT is required\n.*"},
        {"dance web", 2, ".*\n"},
        {"stop --irreversibly web", 2, ".*\n"},
        {"info web db", 2, ".*\n"},
        {"--version", 0, "merosystemctl [0-9.]+\n"},
        {"--help", 0, ".*start .*stop .*Exit status:.*Examples:.*"},
        {"start --help", 0, ".*--no-block .*--irreversibly .*"},
    };
    for (const Case& c : cases) {
        const ShellResult result = Tool(c.arguments);
        EXPECT_EQ(result.exitCode, c.exitCode) << c.arguments;
        EXPECT_THAT(result.output, MatchesRegex(c.output)) << c.arguments;
    }
    for (const std::string help : {"--help", "start --help", "jobs --help", "info --help"}) {
        EXPECT_EQ(Shell(std::string(MEROSYSTEMCTL) + " " + help + " | grep -E '.{81}'").output, "") << "80 columns are enough";
    }
}

TEST_F(Merosystemctl, DataAsJson)
{
    EXPECT_EQ(Tool("jobs --json | jq -c .").output, "[]\n");
    ASSERT_EQ(Tool("start --no-block slow").exitCode, 0);
    EXPECT_EQ(Tool("jobs --json | jq -c 'map(del(.id))'").output,
              "[{\"state\":\"running\",\"type\":\"start\",\"unit\":\"slow.service\"}]\n");
    EXPECT_EQ(Tool("info web --json | jq -cS .").output,
              "{\"belongsTo\":[\"multi-user.target\"],\"defaultEnable\":true,\"firewallSections\":[\"http\",\"https\"],"
              "\"infoCenter\":false,\"name\":\"Web \\\"server\\\"\",\"nameI18n\":\"web:title\",\"nanoUpdate\":false,"
              "\"oneClickEnable\":false,\"packedIn\":[],\"supported\":true,\"unit\":\"web\"}\n");
    EXPECT_THAT(Tool("info web").output, HasSubstr("Firewall sections      http https\n"));
}

TEST_F(Merosystemctl, TheExamplesRun)
{
    EXPECT_THAT(Shell(EXAMPLE_START_UNIT " web").output, "web runs\n");
    EXPECT_EQ(ActiveState("web"), "active");
    EXPECT_EQ(Shell(EXAMPLE_START_UNIT " unknown").exitCode, 1);
    EXPECT_EQ(Shell(EXAMPLE_RESTART_UNITS " web").exitCode, 0);
    const ShellResult result = Shell(EXAMPLE_RESTART_UNITS " web unknown");
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "unknown was not restarted; syslog tells why\n");
}

} // namespace
