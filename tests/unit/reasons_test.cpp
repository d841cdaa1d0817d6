#include "core/text.h"
#include "support/operations.h"

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kRoot = "/run/merosystemd/reasons/";

struct Operation {
    std::string file, doing;
    Texts calls; ///< systemctl's, for "nfs"
    bool (*list)(const std::string&, const Texts&, Texts&);
    bool (*single)(const std::string&, const std::string&);
    int (*fromC)(const char*, const char*);
    int (*group)(const char*, const MLIBCSzList*, MLIBCSzList**);
};

#define FORMS(Name, Group) MEROSystemd##Name, MEROSystemd##Name, MEROCSystemd##Name, MEROCSystemd##Group

const std::string kFile = "systemd_service_";
const Operation kStop{
    kFile + "stop_by_reason", "stopping by", {"stop nfs"}, FORMS(ServiceStopByReason, ServiceStopGroupByReason)};
const Operation kStart{kFile + "start_by_reason",
                       "starting by",
                       {"reset-failed nfs", "start nfs"},
                       FORMS(ServiceStartByReason, ServiceStartGroupByReason)};
const Operation kRemove{
    kFile + "reason_remove", "clear", {"reset-failed nfs"}, FORMS(ServiceReasonRemove, ServiceReasonRemoveGroup)};

class Reasons : public Machine {};

TEST_F(Reasons, OnlyAServicesFirstAndLastReasonReloadTheManager)
{
    struct Case {
        const Operation& operation;
        Texts before; ///< the existing reasons
        Texts after;  ///< the reasons at the first call of systemctl
        bool reloads;
        std::string failing = ""; ///< the systemctl verb that fails
        bool done = true;
    };
    const Case cases[] = {
        {kStop, {}, {"r"}, true},
        {kStop, {"r"}, {"r"}, false},
        {kStop, {"other"}, {"other", "r"}, false},
        {kStop, {".hidden"}, {".hidden", "r"}, true},
        {kStop, {}, {"r"}, true, "stop", false},
        {kStop, {}, {"r"}, true, "daemon-reload", false},
        {kStart, {"r", ".hidden"}, {".hidden"}, true},
        {kStart, {"r", "other"}, {"other"}, false},
        {kStart, {"other"}, {"other"}, false, "reset-failed"},
        {kStart, {"r"}, {}, true, "start", false},
        {kStart, {"r"}, {}, true, "daemon-reload"},
        {kRemove, {"r", "other"}, {"other"}, false},
        {kRemove, {}, {}, false, "reset-failed"},
        {kRemove, {"r"}, {}, true, "daemon-reload"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.operation.file + " " + PrintToString(c.before) + " " + c.failing);
        fs::remove_all("/run/merosystemd"), fs::remove("/run/seen");
        fs::create_directories(kRoot + "nfs.service");
        for (const std::string& reason : c.before) {
            Write(kRoot + "nfs.service/" + reason, "");
        }
        SystemctlScript("[ -e /run/seen ] || LC_ALL=C ls -Am " + kRoot + "nfs.service > /run/seen\n[ $1 != '" +
                        c.failing + "' ] || { echo Job for nfs.service failed.; exit 1; }");
        Texts failed, calls = c.operation.calls;
        calls.insert(calls.end(), c.reloads ? 1 : 0, "daemon-reload");
        EXPECT_EQ(c.operation.list("r", {"nfs"}, failed), c.done);
        EXPECT_EQ(Calls(), calls);
        EXPECT_EQ(Read("/run/seen"), Join(c.after) + (c.after.empty() ? "" : "\n"));
        EXPECT_EQ(failed, c.failing.starts_with("st") ? Texts{"nfs"} : Texts());
        EXPECT_EQ(Said(c.operation.file).front(), "INFO [nfs] " + c.operation.doing + " reason [r] ...");
    }
}

TEST_F(Reasons, UnitsThatStopAlongAreRecordedAndStartWithTheLastRelease)
{
    const std::string notes = "/run/merosystemd/stopped-along/";
    const std::pair<std::string, std::string> units[] = {
        {"a.service", "RequiredBy=b.service idle.service lost.service\nConsistsOf=own.service held.service\n"},
        {"b.service", "Requires=a.service c.service\nBoundBy=b.socket\nPropagatesStopTo=b.target\n"
                      "RequisiteOf=b.path\nConsistsOf=b.timer\n"},
        {"b.path", "Requisite=b.service\n"},
        {"b.socket", "BindsTo=b.service\n"},
        {"b.timer", "PartOf=b.service\n"},
        {"b.target", "StopPropagatedFrom=b.service\n"},
        {"c.service", ""},
        {"own.service", ""},
        {"idle.service", ""},
        {"lost.service", ""},
        {"held.service", ""},
    };
    const std::tuple<std::string, std::string, std::string> cases[] = {
        // what prevents the records, what is logged, and what starts with the last release
        {"/run/nothing", "",
         "start c, start b.path b.socket b.timer b.service, start --job-mode=ignore-dependencies b.target"},
        {notes + "a.service",
         "WARNING Cannot note that [held.service, lost.service, b.service, b.target, b.timer, b.socket, b.path] stop "
         "along with "
         "[a.service]: ",
         "start c"},
        {"/run/deaf", "WARNING systemd does not say which units stop along with [a.service].", "start c"},
    };
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    SystemctlScript("case $1 in show) [ ! -e /run/deaf ] || exit 1; shift 2; for unit; do $next; next=echo; "
                    "cat /run/units/$unit; done;; stop) ls " +
                    notes +
                    "$2.service/ > /run/noted; "
                    "sed -i s/=active/=inactive/ /run/units/*;; esac");
    const auto starts = [this] {
        Texts calls = Calls();
        std::erase_if(calls, [](const std::string& call) { return !call.starts_with("start"); });
        return Join(calls);
    };
    for (const auto& [obstacle, said, started] : cases) {
        fs::remove_all("/run/merosystemd");
        for (const auto& [unit, relatives] : units) {
            Write("/run/units/" + unit, "Id=" + unit + "\nNames=" + unit +
                                            "\nActiveState=" + (unit[0] == 'i' ? "inactive" : "active") +
                                            "\nCanStart=" + (unit[0] == 'l' ? "no\n" : "yes\n") + relatives);
        }
        Write(obstacle, ""), Write(kRoot + "own.service/r", "");
        EXPECT_TRUE(MEROSystemdServiceStopByReason("r", "a"));
        const std::string all = "b.path\nb.service\nb.socket\nb.target\nb.timer\nheld.service\nlost.service\n";
        EXPECT_EQ(Read("/run/noted"), said.empty() ? all : "") << obstacle;
        EXPECT_THAT(Said(kStop.file), Contains(StartsWith(said)));
        Write(kRoot + "held.service/r", "");
        EXPECT_TRUE(MEROSystemdServiceStopByReason("again", "a") && MEROSystemdServiceReasonRemove("again", "a"));
        EXPECT_TRUE(!said.empty() || Said(kStop.file).size() == 1) << "a record stays";
        EXPECT_TRUE(MEROSystemdServiceStopByReason("other", "c") && MEROSystemdServiceStartByReason("r", "a"));
        EXPECT_EQ(starts(), "start a") << "c is still held";
        EXPECT_TRUE(MEROSystemdServiceStartByReason("other", "c"));
        EXPECT_EQ(fs::exists(notes + "c.service/b.service"), said.empty()) << "it is still down";
        EXPECT_FALSE(fs::exists(notes + "a.service/lost.service")) << "it cannot be started";
        EXPECT_EQ(starts(), started) << obstacle;
    }
}

TEST_F(Reasons, UnitsThatCannotHaveReasonsFailAndTheOthersGoOn)
{
    const std::string noSlash = "string::npos == strReason.find(\"/\")";
    const std::string noDots = "\".\" != strReason && \"..\" != strReason";
    for (const Operation& operation : {kStop, kStart, kRemove}) {
        SCOPED_TRACE(operation.file);
        Texts failed, list{"data.mount", "../x", ""};
        list.shrink_to_fit(); // so that the first append moves it
        MLIBCErrSetEx(0, "", 0);
        EXPECT_FALSE(operation.list("r", list, list) || MLIBCErrGet() != 0x0D00 || Log().size() != 1);
        EXPECT_THAT(list, ElementsAre("data.mount", "../x", "", "data.mount", "../x", ""));
        EXPECT_FALSE(operation.list("a/b", {}, failed) || operation.list("..", {}, failed) ||
                     operation.list(".", {"a"}, failed) || MLIBCErrGet() != 0x0D00);
        EXPECT_THAT(Said(operation.file), ElementsAre(noSlash, noDots, noDots));
        EXPECT_TRUE(Calls().empty());

        const List services = MakeList({"data.mount", "nfs", "../x", "b.service"});
        MLIBCSzList* pushed = MakeList({"before"}).release();
        EXPECT_FALSE(operation.group("r", services.get(), &pushed) || operation.group("r", services.get(), nullptr));
        EXPECT_THAT(Items(List(pushed).get()), ElementsAre("before", "data.mount", "../x"));
        EXPECT_THAT(Calls(), Each(AnyOf("daemon-reload", EndsWith(" nfs b.service"))));
        EXPECT_TRUE(operation.single("r", "nfs") && operation.fromC("r", "nfs") && !Log().empty());
        EXPECT_THAT(Calls(), Each(AnyOf("daemon-reload", EndsWith(" nfs"))));
    }
    EXPECT_FALSE(fs::exists("/run/merosystemd/x.service") || fs::exists(kRoot + "data.mount"));
    ASSERT_TRUE(MEROSystemdServiceStopByReason("check", std::string("nfs")) && !Calls().empty());
    EXPECT_TRUE(MEROSystemdServiceStartByReason("check", std::string("n?s"))) << "not held: the name is no pattern";
    EXPECT_THAT(Calls(), Contains("start n?s"));
}

TEST_F(Reasons, FileErrorsAreLogged)
{
    const std::string file = kRoot + "a.service";
    Texts removed, failed;
    Write(file, "");
    EXPECT_FALSE(MEROSystemdServiceStopByReason("r", "a"));
    EXPECT_EQ(Said(kStop.file).back(), "ERR failed to mkdir reason directory [" + file + "]");
    fs::remove(file);
    fs::create_directories(file + "/r");
    EXPECT_FALSE(MEROSystemdServiceStopByReason("r", "a"));
    EXPECT_THAT(Said(kStop.file).back(), StartsWith("ERR failed to touch reason file [" + file + "/r] [0x0"));
    EXPECT_FALSE(UnlinkReasons("r", {"a", "b", "c.mount"}, removed, failed));
    EXPECT_EQ(removed, Texts{"b"});
    EXPECT_THAT(failed, ElementsAre("a", "c.mount"));
    EXPECT_THAT(Said("systemd_internal_lib"),
                ElementsAre("ERR failed to unlink reason file [" + file + "/r] (Is a directory)"));
    EXPECT_FALSE(MEROSystemdServiceReasonRemove("r", "a") || MEROSystemdServiceStartByReason("r", "a"));
    EXPECT_TRUE(MLIBCErrGet() == 0x3900 && Calls().empty());
    Write(kRoot + "d.service/r", "");
    EXPECT_FALSE(UnlinkReasons("../d.service/r", {"b"}, removed, failed) || !fs::exists(kRoot + "d.service/r"));
    EXPECT_TRUE(removed.size() == 1 && failed.back() == "b");
    Texts all{"c.mount", "b"}, held = all;
    EXPECT_FALSE(UnlinkReasons("r", all, all, all) || UnlinkReasons("r", held, removed, held));
    EXPECT_THAT(all, ElementsAre("c.mount", "b", "c.mount", "b"));
    EXPECT_THAT(held, ElementsAre("c.mount", "b", "c.mount"));
}

TEST_F(Reasons, AreListed)
{
    Texts texts;
    MLIBCSzList* list = MakeList({"before"}).release();
    EXPECT_TRUE(ListServicesWithReason(texts) && MEROCSystemdServiceReasonList("a", &list) && texts.empty());
    for (const char* path : {"a.service/r", "a.service/.hidden", "b.service/.hidden", "d.mount/r", "file.service"}) {
        Write(kRoot + path, "");
    }
    EXPECT_TRUE(CheckServiceHasReason("a") && CheckServiceHasReason("a.service") && CheckServiceHasReason("d.mount"));
    EXPECT_FALSE(CheckServiceHasReason("b") || CheckServiceHasReason("none") || CheckServiceHasReason("file"));
    EXPECT_TRUE(ListServicesWithReason(texts) && MEROCSystemdServiceReasonList("a", &list));
    EXPECT_THAT(texts, ElementsAre("a.service"));
    EXPECT_THAT(Items(list), UnorderedElementsAre("before", "r", ".hidden"));
    EXPECT_TRUE(!MEROCSystemdServiceReasonList("d.mount", &list) && MLIBCErrGet() == 0x0D00);
    EXPECT_TRUE(!MEROCSystemdServiceReasonList("file", &list) && MLIBCErrGet() == 0x0900);
    MLIBCErrSetEx(0, "", 0);
    fs::remove_all("/run/merosystemd");
    Write("/run/merosystemd/reasons", "");
    EXPECT_TRUE(!ListServicesWithReason(texts) && MLIBCErrGet() == 0x0900);
    MLIBCSzListFree(list);
}

TEST_F(Reasons, TheDropInIsAHardLink)
{
    Write("/run/source", "text");
    EXPECT_TRUE(LinkMeroReason("/run/a.d/", "/run/source") && LinkMeroReason("/run/a.d", "/run/source"));
    EXPECT_TRUE(fs::exists("/run/a.d/mero-reason.conf") && fs::exists("/run/a.dmero-reason.conf"));
    EXPECT_EQ(fs::hard_link_count("/run/source"), 3U);
    EXPECT_FALSE(LinkMeroReason("/run/a.d/", "/run/source") || LinkMeroReason("/run/source/", "/run/source"));
    EXPECT_THAT(Said("systemd_internal_lib"),
                ElementsAre("ERR Fail to create link from [/run/a.d/mero-reason.conf] to [/run/source] "
                            "(File exists).",
                            StartsWith("ERR Fail to mkdir [/run/source/] [0x0")));
}

} // namespace
