#include "support/child.h"
#include "system/box.h"

#include <merosystemd/systemd.hpp>

#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <sstream>

using namespace MERO::Test;
using std::filesystem::exists;
using std::filesystem::is_symlink;

namespace {

using Texts = std::vector<std::string>;

const std::string kFlag = "/usr/mero/etc/merosystemd/enable-status-changed/life.service";
const std::string kWanted = "/etc/systemd/system/multi-user.target.wants/life.service";

class RealEnablement : public Box {
protected:
    RealEnablement() { Install(); }
    ~RealEnablement() override
    {
        Shell("systemctl stop life; systemctl unmask life; systemctl unmask --runtime life; systemctl disable life");
        Shell("find /etc/systemd /run/systemd/system /usr/local/lib/systemd -name 'life.service*' -exec rm -rf {} +");
    }

    void Install()
    {
        Write("/usr/local/lib/systemd/system/life.service",
              "[Service]\nExecStart=/bin/sleep infinity\n"
              "[Install]\nWantedBy=multi-user.target\nAlias=vita.service\n");
        Load();
    }
    /// Every file on the machine with the unit's name. Empty folders do not count.
    static std::string Traces()
    {
        return Shell("find /etc /run /usr/local /usr/mero '(' -name 'life.service*' -o "
                     "-name 'vita.service*' ')' -not '(' -type d -empty ')'; find /etc /run -path '*life.service.d/*'")
            .output;
    }
};

TEST_F(RealEnablement, AUninstalledUnitLeavesNothing)
{
    Write("/etc/systemd/system/life.service.d/first.conf", "[Service]\nNice=1\n");
    Write("/run/systemd/system/life.service.d/second.conf", "[Service]\nNice=2\n");
    Load();
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_DISABLED);
    EXPECT_TRUE(MEROSystemdEnable("life") && MEROSystemdReenable("life") && MEROSystemdStart("life"));
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_ENABLED);
    EXPECT_EQ(MEROSystemdActiveStatusGet("life"), MERO_SYSTEMD_ACTIVE_STATUS_ACTIVE);
    EXPECT_TRUE(exists(kFlag) && is_symlink(kWanted));
    std::map<std::string, MERO::Systemd::ShownUnit> units;
    EXPECT_TRUE(MEROSystemdShowProperties({"vita", "no", "1", "life@", "life"}, {"LoadState"}, units));
    std::string shown;
    for (auto& [unit, what] : units) {
        shown += unit + (what.asked ? "=" + what.properties["LoadState"] : "-") + what.properties["Id"] + " ";
    }
    EXPECT_EQ(shown, "1- life=loadedlife.service life@- no=not-foundno.service vita=loadedlife.service ");
    EXPECT_TRUE(MEROSystemdServiceStopByReason("check", "life"));
    EXPECT_TRUE(MEROSystemdMaskRunTime("life.service"));
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_MASKED);
    EXPECT_FALSE(MEROSystemdStart("life"));
    EXPECT_TRUE(MEROSystemdUnmaskRunTime("life.service"));
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_LOADED);
    EXPECT_NE(Traces(), "");
    EXPECT_TRUE(MEROSystemdUninstall("life.service"));
    EXPECT_EQ(Traces(), "");
    EXPECT_EQ(MEROSystemdLoadStatusGet("life"), MERO_SYSTEMD_LOAD_STATUS_NOT_FOUND);

    Install();
    EXPECT_TRUE(MEROSystemdMask("life.service") && MEROSystemdMaskRunTime("life.service"));
    EXPECT_EQ(MEROSystemdEnableStatusGet("life"), MERO_SYSTEMD_ENABLE_STATUS_MASKED);
    EXPECT_TRUE(MEROSystemdUninstall("life"));
    EXPECT_EQ(Traces(), "");
}

TEST_F(RealEnablement, AUnitCanBeGivenByItsFile)
{
    const std::string path = "/opt/package/life.service";
    Shell("install -D /usr/local/lib/systemd/system/life.service " + path +
          "; rm /usr/local/lib/systemd/system/life.*");
    Load();
    Texts failed;
    EXPECT_TRUE(MEROSystemdEnable({"multi-user.target", path}, failed) && MEROSystemdReenable(path));
    EXPECT_EQ(std::filesystem::read_symlink("/etc/systemd/system/life.service"), path);
    EXPECT_TRUE(exists(kFlag) && is_symlink(kWanted) && MEROSystemdStart("life"));
    EXPECT_TRUE(MEROSystemdStop("life") && MEROSystemdDisable(path));
    EXPECT_EQ(Traces(), kFlag + "\n");
    Shell("rm -r /opt/package " + kFlag);
}

TEST_F(RealEnablement, TheHostsEnvironmentChangesNoAnswer)
{
    Unit("long.service", "[Service]\nType=oneshot\nExecStart=/bin/sleep infinity\n");
    Load();
    ASSERT_TRUE(MEROSystemdStartNoBlock("long"));
    const auto answers = [](const std::string& variables, const std::string& more = "") {
        const std::string tool = "env " + variables + " " MEROSYSTEMCTL " ";
        return Shell(tool + "show life LoadState; " + tool + "jobs; " + tool + "status life;" + tool + more).output;
    };
    const std::string variables = "SYSTEMD_LOG_TARGET=console SYSTEMD_COLORS=1 SYSTEMD_URLIFY=1 SYSTEMD_EMOJI=1 "
                                  "SYSTEMD_UTF8=1 SYSTEMD_TINT_BACKGROUND=1 SYSTEMD_ADJUST_TERMINAL_TITLE=1 "
                                  "SYSTEMD_LOG_LEVEL=debug SYSTEMD_LOG_COLOR=1 SYSTEMD_LOG_TIME=1 "
                                  "SYSTEMD_LOG_LOCATION=1 SYSTEMD_LOG_TID=1 SYSTEMD_PAGER=false "
                                  "SYSTEMD_PAGERSECURE=1 SYSTEMD_LESS=x PAGER=false LESS=x COLUMNS=20 LINES=2 "
                                  "DEBUG_INVOCATION=1 POSIXLY_CORRECT=1";
    const std::string expected = answers("");
    std::istringstream each(variables);
    for (std::string variable; each >> variable;) {
        EXPECT_EQ(answers(variable), expected) << variable;
    }
    EXPECT_EQ(answers(variables, "list-unit-files"), answers("", "list-unit-files")); // the longest output
}

TEST_F(RealEnablement, OfflineFormsNeedNoManager)
{
    const auto offline = [] { // without the files in /run, systemctl cannot reach the manager
        Texts units;
        return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("tmpfs", "/run", "tmpfs", 0, nullptr) == 0 && MEROSystemdLoadStatusGet("life") == -1 &&
               !MEROSystemdStart("life") && MEROSystemdEnableInGenerator("life") &&
               MEROSystemdEnableStatusGetInGenerator("life") == MERO_SYSTEMD_ENABLE_STATUS_ENABLED &&
               MEROCSystemdDisableInGenerator("life") == 1 &&
               MEROCSystemdEnableStatusGetInGenerator("life") == MERO_SYSTEMD_ENABLE_STATUS_DISABLED &&
               MEROSystemdServiceList(units) && std::count(units.begin(), units.end(), "life") == 1 &&
               MEROSystemdDefaultTargetSetInGenerator("rescue.target");
    };
    EXPECT_EQ(RunAs(0, offline), 1);
    std::string target;
    EXPECT_TRUE(MEROSystemdDefaultTargetGet(target));
    EXPECT_EQ(target, "rescue.target");
}

} // namespace
