#include "support/child.h"
#include "support/operations.h"

using namespace MERO::Test;
using ::testing::ElementsAre;

namespace {

using Words = std::vector<std::pair<std::string, int>>;

class Status : public Machine {};

/// A question for a state: its command, what is printed before the state's word, and each word's number.
struct Question {
    std::string command, prefix;
    Words words;
    int (*get)(const std::string&);
    int (*getFromC)(const char*);
};

const Words kLoad{{"stub", 0}, {"loaded", 1}, {"not-found", 2}, {"error", 3}, {"merged", 4}, {"masked", 5}};
const Words kActive{{"inactive", 0},   {"active", 1},    {"deactivating", 2},
                    {"activating", 3}, {"reloading", 4}, {"failed", 5}};
const Words kEnabled{{"disabled", 0}, {"enabled", 1},        {"enabled-runtime", 1}, {"static", 2},
                     {"masked", 3},   {"masked-runtime", 3}, {"linked", 4},          {"linked-runtime", 4}};

#define FORMS(Name) MEROSystemd##Name, MEROCSystemd##Name

const Question kQuestions[] = {
    {"show --property LoadState u", "LoadState=", kLoad, FORMS(LoadStatusGet)},
    {"show --property ActiveState u", "ActiveState=", kActive, FORMS(ActiveStatusGet)},
    {"show --property ActiveState u", "ActiveState=", kActive, FORMS(ActiveStatusGetSystem)},
    {"is-enabled u", " ", kEnabled, FORMS(EnableStatusGet)},
    {"is-enabled u", " ", kEnabled, FORMS(EnableStatusGetSystem)},
    {"is-enabled --root=/. u", "", kEnabled, FORMS(EnableStatusGetInGenerator)},
};

TEST_F(Status, ShowGivesTheValueOfTheFirstLine)
{
    const std::pair<std::string, std::string> cases[] = {
        {"Main=0\n", "0"},   {"A=b=c\n", "b=c"}, {"A= \ttwo words \n", "two words"}, {"A=1\nA=2\n", "1"}, {"A=\n", ""},
        {" sign\n", "sign"}, {"", "before"}};
    for (const auto& [output, expected] : cases) {
        Systemctl({{"show --property A u", output}});
        std::string value = "before";
        EXPECT_EQ(MEROSystemdShow("u", "A", value), expected != "before") << output;
        EXPECT_EQ(value, expected) << output;
    }
}

TEST_F(Status, EveryStateHasItsNumberAndNoOtherHasOne)
{
    for (const Question& question : kQuestions) {
        Words words = question.words;
        words.insert(words.end(), {{"indirect", -1}, {"Masked", -1}, {"enabled x", -1}, {"", -1}});
        const bool isShow = question.command.starts_with("show");
        for (const auto& [word, number] : words) {
            SCOPED_TRACE(question.command + ": " + word);
            Systemctl({{question.command, question.prefix + word + "\nmasked\n", isShow ? 0 : 1}});
            MLIBCErrSetEx(0, "", 0);
            EXPECT_EQ(question.get("u"), number);
            EXPECT_EQ(MLIBCErrGet(), number < 0 ? 0x8000 : 0);
            EXPECT_EQ(question.getFromC("u"), number);
        }
        Systemctl({{"show *", question.prefix + "masked\n", 1}});
        EXPECT_EQ(question.get("u"), -1);
        RemoveSystemctl();
        EXPECT_EQ(question.get("u"), -1);
    }
}

TEST_F(Status, OnlyTheSystemVariantsAskTheSystemsManagerForAnOrdinaryUser)
{
    Write("/etc/pam.d/systemd-user", "session required pam_permit.so\n");
    Write("/run/systemctl.calls", "");
    std::filesystem::permissions("/run/systemctl.calls", std::filesystem::perms(0666));
    EXPECT_EQ(RunAs(65534,
                    [] {
                        for (const Question& question : kQuestions) {
                            question.get("u");
                        }
                        return MEROSystemdEnableStatusGetWithOptions({"--full", "--quiet"}, "u") + 1;
                    }),
              0);
    EXPECT_THAT(Calls(), ElementsAre("show --user --property LoadState u", "show --user --property ActiveState u",
                                     "show --property ActiveState u", "is-enabled --user u", "is-enabled u",
                                     "is-enabled --user --root=/. u", "is-enabled --user --full --quiet u"));
}

TEST_F(Status, UnitFilesAreListedInBothDialects)
{
    const std::string two = "a.service enabled\nb.mount static\n";
    const std::string three = "a.service  enabled  disabled\nb.mount    static   -       \n";
    const std::tuple<std::string, std::string, Texts> cases[] = {{"classic", two, {"a.service", "b.mount"}},
                                                                 {"classic", three + "\nc.mount static", {"c.mount"}},
                                                                 {"current", three, {"a.service", "b.mount"}},
                                                                 {"current", two, {}},
                                                                 {"classic", three, {}},
                                                                 {"classic", "a.service  enabled  disabled\n", {}},
                                                                 {"current", "a  b c d\na b c d\n", {}}};
    const std::string warning = "WARNING systemctl_dialect: systemctl does not seem to speak the dialect that "
                                "[/usr/mero/etc/merosystemd/systemctl.conf] sets: [";
    for (const auto& [dialect, output, expected] : cases) {
        Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=" + dialect + "\n");
        Systemctl({{"list-unit-files *", output}});
        Texts units;
        EXPECT_TRUE(MEROSystemdListUnits(units, ""));
        EXPECT_EQ(units, expected) << dialect << "\n" << output;
        const Texts log = Log(); // of the tables that seem empty, those that are padded and have more than a line
        EXPECT_EQ(log, output == three && dialect == "classic" ? Texts{warning + "a.service  enabled  disabled]"}
                       : output.starts_with("a  b")            ? Texts{warning + "a  b c d]"}
                                                               : Texts());
    }
    Texts units{"before"};
    MLIBCSzList* list = MakeList(units).release();
    Systemctl({{"*. --type service", "nfs.service enabled x\na.b.service x x\n"}, {"*", two, 1}});
    (void)Calls();
    EXPECT_FALSE(MEROSystemdListUnits(units, ""));
    EXPECT_TRUE(MEROSystemdServiceList(units) && MEROCSystemdServiceList(&list) == 1);
    EXPECT_EQ(Calls().front(), "list-unit-files --no-legend --root=/.");
    RemoveSystemctl();
    EXPECT_FALSE(MEROSystemdServiceList(units) || MEROCSystemdServiceList(&list) ||
                 MEROSystemdListUnits(units, "Service"));
    EXPECT_THAT(Said("systemd_internal_lib"),
                ElementsAre("ERR list-unit-files failed.", "ERR list-unit-files failed.",
                            "(strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType))"));
    EXPECT_THAT(units, ElementsAre("before", "nfs", "a.b"));
    EXPECT_EQ(Items(list), units);
    MLIBCSzListFree(list);
}

TEST_F(Status, TheDefaultTargetIsOneLineThatFits)
{
    const std::string failed = "ERR failed to get default target";
    const std::pair<Answer, std::string> cases[] = {
        {{"get-default", "x.target\nat 2\n", 1}, failed + ": ret=[1], reason=[x.target\nat 2\n]"},
        {{"get-default", "x.target\ny\n"}, failed + ": result is invalid. Result: x.target\ny\n"},
        {{"get-default", ""}, failed + ": result is invalid. Result: "}};
    char buffer[16] = "untouched";
    for (const auto& [answer, message] : cases) {
        Systemctl({answer});
        EXPECT_EQ(MEROCSystemdDefaultTargetGet(buffer, sizeof buffer), 0);
        EXPECT_THAT(Said("systemd_default_target_get"), ElementsAre(message));
    }
    Systemctl({{"get-default", " x.target \n"}});
    EXPECT_TRUE(MEROCSystemdDefaultTargetGet(buffer, 8) == 0 && MLIBCErrGet() == 0x0100);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(MEROCSystemdDefaultTargetGet(buffer, 9), 1);
    EXPECT_STREQ(buffer, "x.target");
    RemoveSystemctl();
    EXPECT_FALSE(MEROCSystemdDefaultTargetGet(buffer, sizeof buffer));
    EXPECT_THAT(Said("systemd_default_target_get"), ElementsAre(failed + "."));
}

TEST_F(Status, TheDefaultTargetIsSet)
{
    const std::string failed = "ERR failed to set default target to [bad]";
    Systemctl({{"*bad", "one\ntwo\n", 1}});
    EXPECT_TRUE(MEROCSystemdDefaultTargetSet("x") == 1 && MEROCSystemdDefaultTargetSetInGenerator("bad") == 0);
    EXPECT_THAT(Calls(), ElementsAre("set-default x", "set-default --root=/. bad"));
    RemoveSystemctl();
    EXPECT_FALSE(MEROSystemdDefaultTargetSet("bad"));
    EXPECT_THAT(Said("systemd_default_target_set"),
                ElementsAre("INFO successfully set default target to [x].", failed + ": ret=[1], reason=[one\n, two\n]",
                            failed + "."));
}

TEST_F(Status, AJobIsEnqueuedWhenThePropertyHasAValue)
{
    const std::tuple<std::string, int, int> cases[] = {{"Job=42\n", 1, 0}, {"Job=\n", 0, 0}, {"", 0, 0x8100}};
    for (const auto& [output, enqueued, error] : cases) {
        Systemctl({{"show --property Job u", output}});
        MLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(MEROCSystemdIsJobEnqueued("u"), enqueued) << output;
        EXPECT_EQ(MLIBCErrGet(), error) << output;
    }
}

} // namespace
