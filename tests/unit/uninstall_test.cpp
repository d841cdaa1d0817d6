#include "core/text.h"
#include "support/operations.h"

#include <set>

using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kUnits = "/etc/systemd/system/";
const std::string kFlags = "/usr/mero/etc/merosystemd/enable-status-changed/";
const std::string kReasons = "/run/merosystemd/reasons/";
const std::string kShow = "show --property=DropInPaths --property=FragmentPath ";

class Uninstall : public Machine {};

TEST_F(Uninstall, ResetFailedAndDaemonReloadLogWhatTheyDo)
{
    const std::string output = "Failed to reset failed state of unit b.service: Unit b.service not loaded.\n";
    const std::string units = " systemd_reset_failed: [a, b] ", reload = " systemd_daemon-reload: ";
    const std::string doing = "INFO" + units + "doing reset-failed ...",
                      start = "INFO" + reload + "start daemon reload";
    const std::string unable = "ERR" + units + "is unabled to reset-failed, skipped: ret=[1], reason:\n" + output;
    Texts failed{"a"};
    const auto both = [&] { return MEROSystemdResetFailed({"a", "b"}, failed) + MEROCSystemdDaemonReload(); };
    EXPECT_EQ(both(), 2);
    EXPECT_THAT(Calls(), ElementsAre("reset-failed a b", "daemon-reload"));
    Systemctl({{"*", output + "two\n", 1}});
    EXPECT_TRUE(both() == 0 && failed == (Texts{"a", "b"}));
    RemoveSystemctl();
    EXPECT_TRUE(both() == 0 && failed == (Texts{"a", "b", "a", "b"}));
    Texts log = Log();
    std::erase_if(log, [](const std::string& line) { return line.find("systemd_systemctl: ") != line.npos; });
    EXPECT_EQ(log, (Texts{doing, "INFO" + units + "reset-failed done.", start,
                          "INFO" + reload + "daemon reload success!", doing, unable + "two\n", start,
                          "ERR" + reload + "daemon reload failed: ret=[1], reason=[" + output + ", two\n]", doing,
                          "ERR" + units + "failed to reset-failed.", start, "ERR" + reload + "daemon-reload failed."}));
}

TEST_F(Uninstall, StepsRunInOrderAndEndWithResetFailed)
{
    const std::string stop = "stop a b", disable = stop + ", disable --root=/. a b";
    const std::string ask = disable + ", disable --root=/. --runtime a b",
                      unmask = ask + ", is-enabled a, is-enabled b";
    const std::string masked = unmask + ", unmask --root=/. a b", free = masked + ", unmask --root=/. --runtime a b";
    const std::string show = ", daemon-reload, " + kShow + "a, " + kShow + "b";
    const std::string end = ", daemon-reload, reset-failed a b", plain = unmask + show + end;
    const std::string bIsMasked = "[ \"$*\" = 'is-enabled b' ] && echo masked-runtime; ";
    const std::string fails = " && echo no && exit 5; ", done = "INFO [a, b] uninstalled.";
    const std::string flags = "WARNING Failed to remove enable-status-changed flag for [b]";
    const auto failedTo = [](const std::string& step) {
        return "ERR [a, b] uninstalling, failed to do [" + step + "]: ret=[5], reason:\nno\n";
    };
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {"", plain, done},
        {bIsMasked, free + show + end, done},
        {"[ $1 = reset-failed ]" + fails, plain, done},
        {"[ $1 = stop ]" + fails, stop + end, failedTo("stop")},
        {"[ $1 = stop ] || [ $1 = daemon-reload ]" + fails, stop + end, failedTo("stop")},
        {"[ $1 = disable ]" + fails, disable + end, failedTo("disable")},
        {"[ $1$3 = disable--runtime ]" + fails, ask + end, failedTo("disable runtime")},
        {bIsMasked + "[ $1 = unmask ]" + fails, masked + end, failedTo("unmask")},
        {bIsMasked + "[ $1$3 = unmask--runtime ]" + fails, free + end, failedTo("unmask runtime")},
        {"[ $1 = daemon-reload ] && mkdir /run/second" + fails, plain, flags},
        {"[ $1 = daemon-reload ] && ! mkdir /run/second" + fails, plain, flags},
        {"[ $1 = daemon-reload ] && rm $0", unmask + ", daemon-reload", "ERR [a, b] uninstalled failed on exception."},
    };
    for (const auto& [script, calls, lastWord] : cases) {
        SCOPED_TRACE(script);
        fs::remove("/run/second");
        SystemctlScript(script + "\nexit 0");
        Texts failed{"b"};
        EXPECT_EQ(MEROSystemdUninstall({"a", "b"}, failed), lastWord == done);
        EXPECT_EQ(MERO::Systemd::Join(Calls()), calls);
        EXPECT_EQ(failed, lastWord == done ? Texts{"b"} : (Texts{"b", "a"}));
        const Texts said = Said("systemd_uninstall");
        EXPECT_EQ(said.front(), "INFO [a, b] uninstalling ...");
        EXPECT_EQ(said.back(), lastWord);
    }
}

TEST_F(Uninstall, TheCurrentDialectQueriesAllUnitsAtOnce)
{
    Write("/usr/mero/etc/merosystemd/systemctl.conf", "dialect=current\n");
    const std::string isEnabled = "is-enabled a b", unmask = "unmask --root=/. a b";
    const std::string show = "show --property=DropInPaths,FragmentPath,Id,Names a.service b.service";
    const std::string a = "Id=a.service\nNames=a.service\nFragmentPath=" + kUnits + "a.service\nDropInPaths=\n";
    const std::string none = "Failed to get unit file state for b.service: No such file or directory\n";
    const std::tuple<std::string, Texts, std::string, Texts> cases[] = {
        {"static\nmasked\n", {isEnabled, unmask, "unmask --root=/. --runtime a b"}, "b", {show}},
        {"static\nstatic\n", {isEnabled}, "b", {show}},
        {"static\n" + none, {isEnabled, "is-enabled a", "is-enabled b"}, "", {show, kShow + "b"}},
    };
    for (const auto& [states, asked, id, shown] : cases) {
        SCOPED_TRACE(states);
        Write(kUnits + "a.service", "");
        const std::string b = id.empty() ? "" : "\nId=b.service\nNames=b.service\n";
        Systemctl({{isEnabled, states, 1}, {show, a + b}, {kShow + "b", "FragmentPath=\n"}});
        Texts failed, calls;
        EXPECT_TRUE(MEROSystemdUninstall({"a", "b"}, failed)) << MERO::Systemd::Join(Log());
        EXPECT_FALSE(fs::exists(kUnits + "a.service"));
        for (const std::string& call : Calls()) {
            call.starts_with("is-enabled") || call.starts_with("unmask") || call.starts_with("show")
                ? calls.push_back(call)
                : void();
        }
        Texts expected = asked;
        expected.insert(expected.end(), shown.begin(), shown.end());
        EXPECT_EQ(calls, expected);
    }
}

TEST_F(Uninstall, ARefusedOrSkippedListFailsWhole)
{
    Texts list{"a", "../b"}, failed{"a"};
    EXPECT_FALSE(MEROSystemdUninstall(list, list) || MEROSystemdUninstall({"a", "../b"}, failed));
    EXPECT_TRUE(list.size() == 2 && failed == list) << "each is listed once";
    EXPECT_THAT(Said("systemd_uninstall"), Each("AreFileNames(vecUnits)"));
    EXPECT_TRUE(MLIBCErrGet() == 0x0D00 && Calls().empty());

    Write("/run/merobootseq/boot-step", "2\n");
    Systemctl({{"list-jobs * a.service", "3 a.service stop waiting\n", 1}});
    EXPECT_EQ(MEROCSystemdUninstall("a") + MEROCSystemdUninstallGroup(MakeList({"b", "a"}).get()), 0);
    EXPECT_THAT(Calls(), UnorderedElementsAre("list-jobs --no-legend a.service", "reset-failed a",
                                              "list-jobs --no-legend b.service", "list-jobs --no-legend a.service",
                                              "reset-failed b a"));
    EXPECT_THAT(Said("systemd_uninstall"), Contains("ERR [a] uninstalled failed on exception."));
}

TEST_F(Uninstall, RemovesTheUnitsFilesAndTracesUnlessAPathIsUnfit)
{
    const std::string file = kUnits + "a.service", one = file + ".d/1.conf", two = file + ".d/2.conf";
    const std::string bystander = kUnits + "my", odd = bystander + " unit.service";
    const std::tuple<std::string, int, bool, std::set<std::string>> cases[] = {
        {"DropInPaths=" + one + " " + two + "\nFragmentPath=" + file + "\n", 0, true, {file, one, two}},
        {"FragmentPath=" + file + "\nDropInPaths= " + one + "  " + two + "\nX=" + odd, 0, true, {file, one, two}},
        {"FragmentPath=" + odd + "\nDropInPaths=" + kUnits + "none\n", 0, true, {odd}},
        {"DropInPaths=" + one + " \"" + odd + "\"\n", 0, true, {one, odd}}, // systemctl quotes blanks
        {"DropInPaths=\nFragmentPath=\n", 0, true, {}},
        {"DropInPaths=[unprintable] " + one + "\nFragmentPath=" + file + "\n", 0, false, {file, one}},
        {"FragmentPath=" + file.substr(1) + "\n", 0, false, {}},
        {"FragmentPath=" + kUnits + "a.service.d\n", 0, false, {}},
        {"FragmentPath=/proc/version\n", 0, false, {}},
        {"FragmentPath=" + file + "\n", 1, false, {}}, // a failed run names nothing to remove
    };
    for (const auto& [output, exitCode, removed, gone] : cases) {
        SCOPED_TRACE(output);
        Texts paths{file, one, two, bystander, odd};
        for (const char* unit : {"a.service", "b.service", "c.service"}) {
            paths.insert(paths.end(), {kFlags + unit, kReasons + unit + "/r"});
        }
        std::for_each(paths.begin(), paths.end(), [](const std::string& path) { Write(path, ""); });
        Systemctl({{kShow + "a", output, exitCode}});
        Texts failed;
        MLIBCErrSetEx(0x1234, "mark", 1);
        EXPECT_EQ(MEROSystemdUninstall({"a", "b"}, failed), removed);
        EXPECT_TRUE(!removed || MLIBCErrGet() == 0x1234) << "a success set an error";
        EXPECT_EQ(failed, removed ? Texts() : Texts{"a"});
        std::set<std::string> expected = gone;
        expected.insert({kFlags + "b.service", kReasons + "b.service/r"});
        if (removed) {
            expected.insert({kFlags + "a.service", kReasons + "a.service/r"});
        }
        std::erase_if(paths, [](const std::string& path) { return fs::exists(path); });
        EXPECT_THAT(paths, UnorderedElementsAreArray(expected));
        EXPECT_EQ(Said("systemd_uninstall").back(),
                  removed ? "INFO [a, b] uninstalled." : "ERR Failed to remove unit and/or drop-in files for [a]");
    }
}

} // namespace
