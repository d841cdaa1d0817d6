#include "support/child.h"
#include "support/operations.h"
#include "support/shell.h"
#include "support/texts.h"
#include "unit/job_info.h"

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";

class Queries : public Machine {
protected:
    static Texts Files()
    {
        Texts units;
        return MEROSystemdListUnits(units, "") ? units : Texts{"failed"};
    }
    /// The job queue as listed, one job per line, or "failed".
    static Texts Jobs()
    {
        std::map<std::uint32_t, JobInfo> jobs;
        const bool isListed = MEROSystemdIntJobList(jobs);
        Texts texts(isListed ? 0 : 1, "failed");
        for (const auto& [id, job] : jobs) {
            EXPECT_EQ(id, job.id);
            texts.push_back(job.ToString());
        }
        return texts;
    }
};

TEST_F(Queries, AJobHasFourFields)
{
    const std::pair<std::string, std::string> cases[] = {
        // an empty text: no job is read
        {"9 a.service restart waiting", "9 a.service stop waiting"}, // keeps the old type; the next one the old state
        {"9 a.service start dancing", "9 a.service start running"},
        {"12x a.service start running", "12 a.service start running"},
        {"-1 a.service start running", "0 a.service start running"},
        {"4294967295 a.service start running", "4294967295 a.service start running"},
        {"4294967296 a.service start running", "0 a.service start running"},
        {"9 a.service start", ""},
        {"9 a.service start running now", ""},
        {"9  a.service start running", ""}, // two blanks make an empty field
        {" \n", ""},
    };
    for (const auto& [line, text] : cases) {
        JobInfo info{.id = 1, .unit = "b", .type = JobType::Stop, .state = JobState::Running};
        EXPECT_EQ(JobInfoParse(line, info), !text.empty()) << line;
        EXPECT_EQ(info.ToString(), text.empty() ? "1 b stop running" : text);
    }
}

TEST_F(Queries, JobsAreListedExceptUnreadableLines)
{
    Systemctl({{"list-jobs --no-legend", "9 b.service stop waiting\nrubbish\n7 a.service start running\n", 1}});
    EXPECT_THAT(Jobs(), ElementsAre("7 a.service start running", "9 b.service stop waiting"));
    EXPECT_THAT(Log(), ElementsAre("ERR systemd_internal_lib: Failed to parse job info: [rubbish\n]"));
    MLIBCErrSetEx(0x1234, "mark", 1);
    Systemctl({{"list-jobs *", "", 1}});
    EXPECT_TRUE(Jobs().empty() && MLIBCErrGet() == 0x1234) << "a machine without a configuration file is classic";

    struct Case {
        Answer answer;
        bool found;
        Texts said;
    };
    const std::string none = "ERR Failed to list-jobs", unread = "ERR Failed to parse job info: [no bus\n]";
    const std::string noBus = ", ret=[4], reason=[no bus\n]";
    const Case cases[] = {
        {{"list-jobs --no-legend nfs.service", "7 nfs.service start running\n", 1}, true, {unread}},
        {{"list-jobs *", "", 1}, false, {}},
        {{"list-jobs *", "", 4}, false, {none + ", ret=[4], reason=[]"}},
        {{"list-jobs *", "no bus\n", 4}, false, {none + " [nfs]" + noBus, none + noBus}},
        {{"list-jobs *", "no bus\n", 1}, false, {unread, unread}},
        {{"none"}, false, {"ERR list-jobs failed.", "ERR list-jobs failed."}},
    };
    for (const Case& c : cases) {
        Systemctl({c.answer, {"*", "no bus\n", 1}});
        c.answer.arguments == "none" ? RemoveSystemctl() : void();
        JobInfo info;
        EXPECT_EQ(MEROSystemdIntJobGet("nfs", info), c.found) << c.answer.output;
        EXPECT_EQ(info.ToString(), c.found ? "7 nfs.service start running" : "0  unknow unknow");
        EXPECT_EQ(Jobs(), Texts(c.said.empty() || c.said[0] == unread ? 0 : 1, "failed"));
        EXPECT_EQ(Said("systemd_internal_lib"), c.said);
    }
}

TEST_F(Queries, EachDialectHasItsColumnsAndItsExitCode)
{
    struct Case {
        std::string configuration;
        Texts (*ask)();
        std::string output;
        int exitCode;
        Texts found;
        std::string warning = "";
    };
    const std::string padded = "  7 a.service                  start running\n123 a-long-name.service stop  waiting\n";
    const std::string single = "7 a.service start running\n123 a-long-name.service stop waiting\n";
    const std::string two = "a.service enabled\nb.mount static\n", of = std::string("[") + kConfiguration + "]";
    const std::string three = "a.service  enabled  disabled\nb.mount    static   -       \n";
    const std::string odd = "WARNING systemctl does not seem to speak the dialect that " + of + " sets: ";
    const std::string classic = "dialect=classic", current = "dialect=current";
    const Texts jobs{"7 a.service start running", "123 a-long-name.service stop waiting"};
    const Texts files{"a.service", "b.mount"}, failed{"failed"};
    const Case cases[] = {
        {classic, Jobs, single, 1, jobs},
        {classic, Jobs, single, 0, failed},
        {classic, Jobs, padded, 1, {}, odd + "[7 a.service                  start running]"},
        {current, Jobs, padded, 0, jobs},
        {current, Jobs, single, 0, jobs},
        {current, Jobs, padded, 1, failed},
        {"other=current", Jobs, single, 1, jobs},
        {"dialect=klingon", Jobs, single, 1, jobs, "WARNING Unknown dialect [klingon] in " + of + ", using classic."},
        {classic, Files, two, 0, files},
        {classic, Files, two, 1, failed},
        {classic, Files, three + "\nc.mount static", 0, {"c.mount"}},
        {classic, Files, three, 0, {}, odd + "[a.service  enabled  disabled]"},
        {classic, Files, "a.service  enabled  disabled\n", 0, {}}, // a single line fits any table
        {current, Files, three, 0, files},
        {current, Files, two, 0, {}},
        {current, Files, "a  b c d\na b c d\n", 0, {}, odd + "[a  b c d]"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.configuration + c.output);
        Write(kConfiguration, c.configuration + "\n");
        Systemctl({{"list-*", c.output, c.exitCode}});
        EXPECT_EQ(c.ask(), c.found);
        EXPECT_EQ(Said("systemctl_dialect"), Texts(c.warning.empty() ? 0 : 1, c.warning));
    }

    Texts units{"before"};
    MLIBCSzList* list = MakeList(units).release();
    Systemctl({{"list-unit-files --no-legend --root=/. --type service", "nfs.service enabled x\na.b.service x x\n"}});
    Write(kConfiguration, current);
    EXPECT_TRUE(MEROSystemdServiceList(units) && MEROCSystemdServiceList(&list) == 1);
    RemoveSystemctl();
    EXPECT_FALSE(MEROSystemdServiceList(units) || MEROCSystemdServiceList(&list) ||
                 MEROSystemdListUnits(units, "Service"));
    EXPECT_THAT(Said("systemd_internal_lib"),
                ElementsAre("ERR list-unit-files failed.", "ERR list-unit-files failed.",
                            "(strType.empty() || setUnitTypes.end() != setUnitTypes.find(strType))"));
    EXPECT_THAT(units, ElementsAre("before", "nfs", "a.b"));
    EXPECT_EQ(Items(List(list).get()), units);
}

TEST_F(Queries, TheCurrentDialectReadsTheManagersUnitFolders)
{
    Write(kConfiguration, "dialect=current\n");
    for (const char* name :
         {"one/a.service", "one/B.service", "one/c@.service", "one/.d.service", "one/e.servicex", "one/@.service",
          "one/f g.service", "one/h", "two/B.service", "two/z.mount", "two/.mount"}) {
        Write(std::string("/run/units/") + name, "");
    }

    Shell("cd /run/units/two; mkdir k.service; mkfifo l.service; ln -s /nowhere m.timer; ln -s /etc n.target; ln -s "
          "one '../a b'; touch "
          "file");
    const Texts listed{"z.mount", "a.service", "B.service", "c@.service", "n.target", "m.timer"};
    const Answer asked{"list-unit-files --no-legend --root=/.", "asked.service enabled x\n"};
    struct Case {
        Answer unitPath;
        Texts found;
    };
    const std::string ask = "show --property=UnitPath";
    const Case cases[] = {
        {{ask, "UnitPath=/run/units/two /run/nowhere /run/units/two/file /run/units/one\n"}, listed},
        {{ask, "UnitPath=/run/units/two \"/run/units/a b\"\n"}, listed},
        {{ask, "UnitPath=/run/units/two [unprintable]\n"}, {"asked.service"}},
        {{ask, "UnitPath=\n"}, {"asked.service"}},
        {{ask, "Failed to connect to bus\n", 1}, {"asked.service"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.unitPath.output);
        Systemctl({c.unitPath, asked});
        EXPECT_EQ(Files(), c.found);
    }
    Systemctl({cases[0].unitPath});
    Texts units{"before"};
    EXPECT_TRUE(MEROSystemdListUnits(units, "service"));
    EXPECT_THAT(units, ElementsAre("before", "a.service", "B.service", "c@.service"));
    Shell("cd /run/units; ln -s loop loop");
    Systemctl({{ask, "UnitPath=/run/units/one /run/units/loop\n"}});
    EXPECT_EQ(Files(), Texts{"failed"});
    EXPECT_EQ(MLIBCErrGet(), MLIBC_ERR_OPEN_DIRECTORY);
    EXPECT_EQ(Said("systemd_internal_lib").back(),
              "ERR Failed to read the folders of unit files: Too many levels of symbolic links");
}

using Words = std::vector<std::pair<std::string, int>>;

/// A query for a state: its command, what is printed before the state's word, and each word's number.
struct Query {
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

const Query kQueries[] = {
    {"show --property LoadState u", "LoadState=", kLoad, FORMS(LoadStatusGet)},
    {"show --property ActiveState u", "ActiveState=", kActive, FORMS(ActiveStatusGet)},
    {"show --property ActiveState u", "ActiveState=", kActive, FORMS(ActiveStatusGetSystem)},
    {"is-enabled u", " ", kEnabled, FORMS(EnableStatusGet)},
    {"is-enabled u", " ", kEnabled, FORMS(EnableStatusGetSystem)},
    {"is-enabled --root=/. u", "", kEnabled, FORMS(EnableStatusGetInGenerator)},
};

TEST_F(Queries, EveryStateHasItsNumberAndOtherWordsHaveNone)
{
    for (const Query& query : kQueries) {
        Words words = query.words;
        words.insert(words.end(), {{"indirect", -1}, {"Masked", -1}, {"enabled x", -1}, {"", -1}});
        const bool isShow = query.command.starts_with("show");
        for (const auto& [word, number] : words) {
            SCOPED_TRACE(query.command + ": " + word);
            Systemctl({{query.command, query.prefix + word + "\nmasked\n", isShow ? 0 : 1}});
            MLIBCErrSetEx(0, "", 0);
            EXPECT_EQ(query.get("u"), number);
            EXPECT_EQ(MLIBCErrGet(), number < 0 ? 0x8000 : 0);
            EXPECT_EQ(query.getFromC("u"), number);
        }
        Systemctl({{"show *", query.prefix + "masked\n", 1}});
        EXPECT_EQ(query.get("u"), -1);
        RemoveSystemctl();
        EXPECT_EQ(query.get("u"), -1);
    }
    Systemctl({{"show *", "ActiveState=refreshing\n"}});
    EXPECT_EQ(MEROSystemdActiveStatusGet("u"), -1) << "only the current dialect knows this state";
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    EXPECT_EQ(MEROSystemdActiveStatusGet("u"), MERO_SYSTEMD_ACTIVE_STATUS_RELOADING);
}

TEST_F(Queries, ForOrdinaryUsersOnlySystemVariantsQueryTheSystemManager)
{
    Write("/etc/pam.d/systemd-user", "session required pam_permit.so\n");
    Write("/run/systemctl.calls", "");
    fs::permissions("/run/systemctl.calls", fs::perms(0666));
    const auto ask = [] {
        std::for_each(std::begin(kQueries), std::end(kQueries), [](auto& query) { query.get("u"); });
        std::map<std::string, ShownUnit> units;
        return MEROSystemdEnableStatusGetWithOptions({"--full", "--quiet"}, "u") + 1 +
               MEROSystemdShowProperties({"u"}, {"Id"}, units) + MEROSystemdShowPropertiesSystem({"u"}, {"Id"}, units);
    };
    EXPECT_EQ(RunAs(65534, ask), 0);
    EXPECT_THAT(Calls(),
                ElementsAre("show --user --property LoadState u", "show --user --property ActiveState u",
                            "show --property ActiveState u", "is-enabled --user u", "is-enabled u",
                            "is-enabled --user --root=/. u", "is-enabled --user --full --quiet u",
                            "show --user --property=Id,Names u.service", "show --property=Id,Names u.service"));
    EXPECT_THAT(Log(), Contains("ERR systemd_putenv_by_pam_systemd: Failed to put env by pam systemd for 65534"));
}

TEST_F(Queries, ShowReturnsTheValueOfTheFirstLine)
{
    struct Case {
        std::string output, value;
        int isEnqueued; ///< if the property is Job
        int error;
    };
    const Case cases[] = {
        {"Main=0\n", "0", 1, 0},   {"A=b=c\n", "b=c", 1, 0}, {"A= \ttwo words \n", "two words", 1, 0},
        {"A=1\nA=2\n", "1", 1, 0}, {"A=\n", "", 0, 0},       {" sign\n", "sign", 1, 0},
        {"", "before", 0, 0x8100},
    };
    for (const Case& c : cases) {
        Systemctl({{"show --property A u", c.output}, {"show --property Job u", c.output}});
        std::string value = "before";
        EXPECT_EQ(MEROSystemdShow("u", "A", value), c.error == 0) << c.output;
        EXPECT_EQ(value, c.value) << c.output;
        MLIBCErrSetEx(0, "", 0);
        EXPECT_EQ(MEROCSystemdIsJobEnqueued("u"), c.isEnqueued) << c.output;
        EXPECT_EQ(MLIBCErrGet(), c.error) << c.output;
    }
}

TEST_F(Queries, ARefusedUnitHidesNoOtherUnitsProperties)
{
    const std::string a = "Id=a.service\nNames=a.service al.service\nS=x=y\nS=second\nline\n";
    const std::string b = "Id=b.service\nNames=b.service\nS=2\n", refused = "Failed to get properties: ";
    const std::string mounts = "Id=-.mount\nNames=-.mount\n\nId=m\\x2dn.mount\nNames=\"m\\\\x2dn.mount\"\n";
    const std::string named = refused + "Unit name x.service is neither a valid invocation ID nor unit name.\n";
    const std::string axb = "a.service x.service b.service", tooLong(250, 'a');
    struct Case {
        Texts units;
        std::vector<Answer> answers; ///< one for each query
        std::string text;            ///< "unit=S", or "unit-" for a unit without an answer
    };
    const Case cases[] = {
        {{"b", "al", "a.service", "b"}, {{"b.service al.service a.service", a + "\n" + b}}, "a.service=x=y al=x=y b=2"},
        {{"m\\x2dn.mount", "-.mount"}, {{"-- m\\x2dn.mount -.mount", mounts}}, "-.mount= m\\x2dn.mount="},
        {{"a", "x", "b"}, {{axb, a, 1, named}, {"b.service", b}}, "a=x=y b=2 x-"},
        {{"a", "x", "b"}, {{axb, a, 1, refused + "no\n"}, {"b.service", b}}, "a=x=y b=2 x-"},
        {{"c", "x", "b"},
         {{"c.service x.service b.service", "Id=c.service\nNames=c.service\nS=z b.service\n", 1, named},
          {"b.service", b}},
         "b=2 c=z b.service x-"},
        {{"x", "a", "b"}, {{"x.service a.service b.service", "", 1, named}, {"a.service b.service", b}}, "a- b=2 x-"},
        {{"x", "b"}, {{"x.service b.service", "", 1, refused + "no\n"}, {"b.service", b}}, "b=2 x-"},
        {{"x"}, {{"x.service", "", 1, named}}, "x-"},
        {{"c"}, {{"c.service", "Id=c.service\nNames=c.service\nS={ 1 }\nS={ 2 }\nS=3\n"}}, "c={ 1 }\n{ 2 }"},
        {{"1", "t@.service", "a*", "a/b", "", "x y", "@i", ".service", "a?.service", tooLong},
         {},
         "- .service- 1- @i- a*- a/b- a?.service- " + tooLong + "- t@.service- x y-"},
        {{"a", "b", "c"}, {{"a.service b.service c.service", "", 1, "no bus\n"}, {"b.service c.service", "", 1}}, "?-"},
        {{"a"}, {{"a.service", ""}}, "?-"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.text);
        Texts calls;
        std::vector<Answer> answers = c.answers;
        for (Answer& answer : answers) {
            calls.push_back("show --property=S,Id,Names " + answer.arguments);
            answer.arguments = Replaced(calls.back(), "\\", "\\\\");
        }
        Systemctl(answers);
        std::map<std::string, ShownUnit> units{{"?", {}}};
        EXPECT_EQ(MEROSystemdShowProperties(c.units, {"S"}, units), c.text != "?-");
        std::string text;
        for (auto& [unit, what] : units) {
            text += (text.empty() ? "" : " ") + unit + (what.asked ? "=" + what.properties["S"] : "-");
        }
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(Calls(), calls);
    }

    Systemctl({{"show --property=S,Id,Names a.service", a}});
    Texts got;
    const auto add = [](const char* unit, const char* property, const char* value, void* texts) {
        const auto text = [](const char* one) { return std::string(one != nullptr ? one : "-"); };
        static_cast<Texts*>(texts)->push_back(text(unit) + " " + text(property) + " " + text(value));
    };
    EXPECT_EQ(MEROCSystemdShowProperties(MakeList({"a", "a*"}).get(), MakeList({"S"}).get(), add, &got), 1);
    EXPECT_THAT(got, ElementsAre("a Id a.service", "a Names a.service al.service", "a S x=y", "a* - -"));
}

TEST_F(Queries, TheDefaultTargetIsReadAsOneLineAndCanBeSet)
{
    const std::string got = "ERR failed to get default target", set = "ERR failed to set default target to [bad]";
    const std::tuple<std::string, int, std::string> cases[] = {
        {"x.target\nat 2\n", 1, got + ": ret=[1], reason=[x.target\nat 2\n]"},
        {"x.target\ny\n", 0, got + ": result is invalid. Result: x.target\ny\n"},
        {"", 0, got + ": result is invalid. Result: "},
        {"none", 1, got + "."},
    };
    char buffer[16] = "untouched";
    for (const auto& [output, exitCode, message] : cases) {
        Systemctl({{"get-default", output, exitCode}});
        output == "none" ? RemoveSystemctl() : void();
        EXPECT_EQ(MEROCSystemdDefaultTargetGet(buffer, sizeof buffer), 0);
        EXPECT_THAT(Said("systemd_default_target_get"), ElementsAre(message));
    }
    Systemctl({{"get-default", " x.target \n"}, {"*bad", "one\ntwo\n", 1}});
    EXPECT_TRUE(MEROCSystemdDefaultTargetGet(buffer, 8) == 0 && MLIBCErrGet() == 0x0100);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(MEROCSystemdDefaultTargetGet(buffer, 9), 1);
    EXPECT_STREQ(buffer, "x.target");
    (void)Calls();
    EXPECT_TRUE(MEROCSystemdDefaultTargetSet("x") == 1 && MEROCSystemdDefaultTargetSetInGenerator("bad") == 0);
    EXPECT_THAT(Calls(), ElementsAre("set-default x", "set-default --root=/. bad"));
    RemoveSystemctl();
    EXPECT_FALSE(MEROSystemdDefaultTargetSet("bad"));
    EXPECT_THAT(Said("systemd_default_target_set"), ElementsAre("INFO successfully set default target to [x].",
                                                                set + ": ret=[1], reason=[one\n, two\n]", set + "."));
}

} // namespace
