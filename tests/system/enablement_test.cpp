#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>

using namespace MERO::Test;
using ::testing::Contains;
using ::testing::ElementsAre;

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kFlags = "/usr/mero/etc/merosystemd/enable-status-changed/";

class RealEnablement : public Box {
protected:
    RealEnablement()
    {
        File("/usr/local/lib/systemd/system/life.service",
             "[Service]\nExecStart=/bin/sleep infinity\n"
             "[Install]\nWantedBy=multi-user.target\nAlias=vita.service\n");
        Load();
    }
    ~RealEnablement() override
    {
        Shell("systemctl stop life; systemctl unmask life; systemctl unmask --runtime life; systemctl disable life");
        Shell("find /etc/systemd /run/systemd/system /usr/local/lib/systemd -name 'life.service*' -exec rm -rf {} +");
    }

    static void File(const std::string& path, const std::string& text)
    {
        Shell("install -D -m 644 /dev/stdin " + path + " <<'END'\n" + text + "END");
    }

    /// Everything on the machine that carries the unit's name. Empty folders are nothing.
    static std::string Traces()
    {
        return Shell("find /etc /run/systemd /run/merosystemd /usr/local /usr/mero '(' -name 'life.service*' -o "
                     "-name 'vita.service*' ')' -not '(' -type d -empty ')'; find /etc /run -path '*life.service.d/*'")
            .output;
    }
};

TEST_F(RealEnablement, AUnitsWholeLifeLeavesNothing)
{
    File("/etc/systemd/system/life.service.d/first.conf", "[Service]\nNice=1\n");
    File("/run/systemd/system/life.service.d/second.conf", "[Service]\nNice=2\n");
    Load();
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_DISABLED);
    EXPECT_TRUE(MEROSystemdEnable("life"));
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_ENABLED);
    EXPECT_TRUE(std::filesystem::exists(std::string(kFlags) + "life.service"));
    EXPECT_TRUE(std::filesystem::is_symlink("/etc/systemd/system/multi-user.target.wants/life.service"));
    EXPECT_TRUE(MEROSystemdReenable("life"));
    EXPECT_TRUE(MEROSystemdStart("life"));
    EXPECT_EQ(MEROSystemdActiveStatusGet("life"), MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE);
    EXPECT_TRUE(MEROSystemdServiceStopByReason("check", "life"));
    EXPECT_TRUE(MEROSystemdServiceStartByReason("check", "life"));
    EXPECT_TRUE(MEROSystemdServiceStopByReason("other", "life"));

    EXPECT_TRUE(MEROSystemdMaskRunTime("life.service"));
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_MASKED);
    EXPECT_FALSE(MEROSystemdStart("life"));
    EXPECT_TRUE(MEROSystemdUnmaskRunTime("life.service"));
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_LOADED);
    EXPECT_TRUE(MEROSystemdDisable("life"));
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_DISABLED);
    EXPECT_TRUE(MEROSystemdEnable("life"));
    EXPECT_TRUE(MEROSystemdMask("life.service"));
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_MASKED);
    EXPECT_TRUE(MEROSystemdUnmask("life.service"));
    EXPECT_NE(Traces(), "");

    EXPECT_TRUE(MEROSystemdUninstall("life.service"));
    EXPECT_EQ(Traces(), "");
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND);
    EXPECT_THAT(Journal(), Contains("systemd_uninstall: [life.service] uninstalled."));
}

TEST_F(RealEnablement, AUnitMayBeGivenByItsFile)
{
    const std::string path = "/opt/package/life.service";
    Shell("install -D /usr/local/lib/systemd/system/life.service " + path +
          "; rm /usr/local/lib/systemd/system/life.*");
    Load();
    for (const std::string& disabled : {path, std::string("life.service")}) {
        Texts failed;
        EXPECT_TRUE(MEROSystemdEnable({"multi-user.target", path}, failed));
        EXPECT_EQ(std::filesystem::read_symlink("/etc/systemd/system/life.service"), path);
        EXPECT_TRUE(std::filesystem::exists("/etc/systemd/system/multi-user.target.wants/life.service"));
        EXPECT_TRUE(std::filesystem::exists(std::string(kFlags) + "life.service"));
        EXPECT_TRUE(MEROSystemdReenable(path) && MEROSystemdStart("life"));
        EXPECT_TRUE(MEROSystemdStop("life") && MEROSystemdDisable(disabled));
        EXPECT_EQ(Traces(), kFlags + std::string("life.service\n"));
    }
    EXPECT_FALSE(MEROSystemdUninstall(path));
    EXPECT_TRUE(std::filesystem::remove(std::string(kFlags) + "life.service") && std::filesystem::exists(path));
    Shell("rm -r /opt/package");
}

TEST_F(RealEnablement, AMaskedUnitIsUninstalledToo)
{
    EXPECT_TRUE(MEROSystemdMask("life.service"));
    EXPECT_TRUE(MEROSystemdMaskRunTime("life.service"));
    EXPECT_TRUE(MEROSystemdUninstall("life"));
    EXPECT_EQ(Traces(), "");
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND);
}

TEST_F(RealEnablement, WhatCannotBeStoppedOrNamedIsNotUninstalled)
{
    Texts failed;
    EXPECT_FALSE(MEROSystemdUninstall({"never-was.service"}, failed));
    EXPECT_THAT(failed, ElementsAre("never-was.service"));
    EXPECT_FALSE(MEROSystemdUninstall({"life.service", "../life.service"}, failed = {}));
    EXPECT_THAT(failed, ElementsAre("life.service", "../life.service"));
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_LOADED);
}

TEST_F(RealEnablement, FailuresAreToldPerUnitOrForAll)
{
    Texts failed;
    EXPECT_FALSE(MEROSystemdEnable({"life", "never-was"}, failed));
    EXPECT_THAT(failed, ElementsAre("life", "never-was"));
    File("/etc/systemd/system/real.service", "");
    EXPECT_FALSE(MEROSystemdMask({"life", "real", "never-was"}, failed = {}));
    EXPECT_THAT(failed, ElementsAre("real")) << "where its file is, no link can be made";
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_MASKED);
    EXPECT_TRUE(MEROSystemdUnmask({"life", "never-was"}, failed = {}));
    Shell("rm /etc/systemd/system/real.service");
    EXPECT_FALSE(MEROSystemdResetFailed({"never-was"}, failed = {}));
    EXPECT_THAT(failed, ElementsAre("never-was"));
    EXPECT_TRUE(MEROSystemdDaemonReload());
}

TEST_F(RealEnablement, Questions)
{
    Texts units;
    EXPECT_TRUE(MEROSystemdListUnits(units, ""));
    EXPECT_THAT(units, Contains("life.service"));
    EXPECT_THAT(units, Contains("basic.target"));
    const auto all = units.size();
    EXPECT_TRUE(MEROSystemdListUnits(units = {}, "target"));
    EXPECT_TRUE(std::all_of(units.begin(), units.end(), [](const std::string& u) { return u.ends_with(".target"); }));
    EXPECT_GT(all, units.size());
    EXPECT_TRUE(MEROSystemdServiceList(units = {}));
    EXPECT_THAT(units, Contains("life"));

    std::string value;
    EXPECT_TRUE(MEROSystemdShow("life", "FragmentPath", value));
    EXPECT_EQ(value, "/usr/local/lib/systemd/system/life.service");
    EXPECT_TRUE(MEROSystemdShowSystem("life", "ExecMainPID", value));
    EXPECT_EQ(value, "0");
    EXPECT_FALSE(MEROSystemdShow("life", "NoSuchProperty", value));
    EXPECT_EQ(value, "0");
    EXPECT_FALSE(MEROSystemdIsJobEnqueued("life"));

    EXPECT_TRUE(MEROSystemdDefaultTargetSet("rescue.target"));
    EXPECT_TRUE(MEROSystemdDefaultTargetGet(value));
    EXPECT_EQ(value, "rescue.target");
    EXPECT_TRUE(MEROSystemdDefaultTargetSetInGenerator("multi-user.target"));
    EXPECT_TRUE(MEROSystemdDefaultTargetGet(value));
    EXPECT_EQ(value, "multi-user.target");
    EXPECT_FALSE(MEROSystemdDefaultTargetSet("life.service"));
}

TEST_F(RealEnablement, TheHostsEnvironmentChangesNoAnswer)
{
    Unit("long.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep infinity\n");
    Load();
    ASSERT_TRUE(MEROSystemdStartNoBlock("long"));
    const auto answers = [](bool withUnits) {
        Texts texts;
        std::string value;
        std::map<std::uint32_t, MERO::Systemd::JobInfo> jobs;
        EXPECT_TRUE(!withUnits || MEROSystemdListUnits(texts, "")); // takes longest
        EXPECT_TRUE(MEROSystemdShow("life", "LoadState", value) && MEROSystemdIntJobList(jobs));
        for (const auto& [id, job] : jobs) {
            texts.push_back(job.ToString());
        }
        texts.push_back(value + std::to_string(MEROSystemdEnableStatusGet("life")));
        return texts;
    };
    std::istringstream variables("SYSTEMD_LOG_TARGET=console SYSTEMD_COLORS=1 SYSTEMD_URLIFY=1 SYSTEMD_EMOJI=1 "
                                 "SYSTEMD_UTF8=1 SYSTEMD_TINT_BACKGROUND=1 SYSTEMD_ADJUST_TERMINAL_TITLE=1 "
                                 "SYSTEMD_LOG_LEVEL=debug SYSTEMD_LOG_COLOR=1 SYSTEMD_LOG_TIME=1 "
                                 "SYSTEMD_LOG_LOCATION=1 SYSTEMD_LOG_TID=1 SYSTEMD_PAGER=false "
                                 "SYSTEMD_PAGERSECURE=1 SYSTEMD_LESS=x PAGER=false LESS=x COLUMNS=20 LINES=2 "
                                 "DEBUG_INVOCATION=1 POSIXLY_CORRECT=1");
    const Texts expected = answers(false);
    const Texts expectedUnits = answers(true);
    Texts set; // one more each time
    for (std::string variable; variables >> variable;) {
        const std::size_t equals = variable.find('=');
        setenv(set.emplace_back(variable.substr(0, equals)).c_str(), variable.c_str() + equals + 1, 1);
        EXPECT_EQ(answers(false), expected) << variable;
    }
    EXPECT_EQ(answers(true), expectedUnits);
    for (const std::string& name : set) {
        unsetenv(name.c_str());
    }
}

TEST_F(RealEnablement, OfflineFormsNeedNoManager)
{
    const pid_t pid = fork();
    if (pid == 0) {
        // Without what stands in /run, no manager can be reached.
        bool right = unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                     mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0;
        right = right && MEROSystemdLoadStatusGet("life") == -1 && !MEROSystemdStart("life");
        right = right && MEROSystemdEnableInGenerator("life") &&
                MEROSystemdEnableStatusGetInGenerator("life") == MERO_SYSTEMD_ENABLE_STATUS_ENABLED;
        right = right && MEROCSystemdDisableInGenerator("life") == 1 &&
                MEROCSystemdEnableStatusGetInGenerator("life") == MERO_SYSTEMD_ENABLE_STATUS_DISABLED;
        Texts units;
        right = right && MEROSystemdServiceList(units) && std::count(units.begin(), units.end(), "life") == 1;
        right = right && MEROSystemdDefaultTargetSetInGenerator("rescue.target");
        _exit(right ? 0 : 1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_EQ(status, 0);
    std::string target;
    EXPECT_TRUE(MEROSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "rescue.target");
}

} // namespace
