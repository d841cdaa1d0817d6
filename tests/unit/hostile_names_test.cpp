#include "support/machine.h"

#include <merosystemd/resource.hpp>
#include <merosystemd/systemd.hpp>

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <algorithm>

using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kNames[] = {
    "..",          ".",
    "a/../b",      "../../../etc/passwd",
    "/etc/passwd", "-",
    "--version",   "--root=/tmp",
    "-rf",         "a b",
    " ",           "a\tb",
    "a\nb",        "x\nNov 21 00:00:00 nas sshd[1]: Accepted password for root",
    "\r",          "\x1b[2J",
    "*",           "n?s",
    "[a-z]*",      "\\",
    "a'b\"c",      "$(reboot)",
    ";reboot",     std::string(5'000, 'x'),
    "\xff\xfe",    "\xc3",
    "%s%n",        "x@",
    "@",           "-.mount",
};

/// Every file below a folder, but those that others keep there.
std::vector<std::string> Files(const char* folder)
{
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        files.push_back(entry.path().string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

class HostileNames : public Machine {};

TEST_F(HostileNames, AreOneArgumentNoOptionAndNoLineOfTheLog)
{
    // The stand-in notes how many arguments stand behind the last that is an option, and the words themselves escaped.
    SystemctlScript("behind=0\nfor word; do\n  if [ \"$ended\" ]; then behind=$((behind + 1)); continue; fi\n"
                    "  case $word in --) ended=1 ;; -*) options=\"$options $word\" ;; esac\ndone\n"
                    "printf '%s|%s|%s\\n' \"$#\" \"$options\" \"$behind\" >> /run/seen\nexit 1\n");
    for (const std::string& name : kNames) {
        std::vector<std::string> failed;
        EXPECT_FALSE(MEROSystemdStart(name) || MEROSystemdStop({name}, failed) || MEROSystemdMask(name));
        EXPECT_FALSE(MEROSystemdResetFailed({name}, failed)) << name;
        std::string value;
        (void)MEROSystemdShow(name, "Id", value);
        (void)MEROSystemdActiveStatusGet(name);
        const std::string seen = Read("/run/seen");
        const bool isOption = name.starts_with('-');
        // start, stop, mask and reset-failed get the verb and the name; the questions have an option each.
        const std::string argument = isOption ? "3||1\n" : "2||0\n";
        EXPECT_THAT(seen, StartsWith(argument + argument + argument + argument)) << name;
        EXPECT_THAT(seen, Not(AnyOf(HasSubstr("--version"), HasSubstr("--root=/tmp"), HasSubstr("-rf")))) << name;
        fs::remove("/run/seen");
        for (const std::string& line : Log()) {
            EXPECT_THAT(line, Not(MatchesRegex("(.|\n)*[\x01-\x08\x0b-\x1f].*"))) << line;
            EXPECT_THAT(line, Not(HasSubstr("\nNov 21"))) << line;
        }
    }
}

TEST_F(HostileNames, LeadToNoFileOutsideTheirFolders)
{
    Write("/etc/passwd.service", "[X-Tarvix]\nName=root\n");
    fs::create_directories("/var/packages/p");
    const auto etc = Files("/etc");
    Systemctl({{"show *", "FragmentPath=/etc/passwd/../none\nDropInPaths=relative -rf /etc\n"}});
    for (const std::string& name : kNames) {
        if (name.find('/') == name.npos) {
            continue; // with its type behind it, it is a file of its own ("...service")
        }
        std::vector<std::string> failed;
        std::string value;
        bool is = false;
        EXPECT_FALSE(MEROSystemdServiceStopByReason(name, std::string("nfs"))) << name;
        EXPECT_FALSE(MEROSystemdServiceStopByReason("reason", name)) << name;
        EXPECT_FALSE(MEROSystemdServiceReasonRemove(name, std::string("nfs"))) << name;
        EXPECT_FALSE(!MEROSystemdEnable(name) || MEROSystemdUninstall(name)) << name;
        EXPECT_FALSE(MEROSystemdVolumeRegister(name, "/volume1")) << name;
        EXPECT_FALSE(MEROSystemdNameGet(name, value) || MEROSystemdIsSupportGet(name, is)) << name;
        EXPECT_FALSE(MEROSystemdKillSlice(name)) << name;
    }
    for (const std::string package : {"..", ".", "", "../../etc", "p/..", "/etc"}) {
        EXPECT_FALSE(MEROSystemdPackageVolumeRegister(package, "/volume1")) << package;
        EXPECT_FALSE(MEROSystemdVolumeIsRegisteredByPackage(package, {"/volume1"})) << package;
    }
    EXPECT_EQ(Files("/etc"), etc);
    const std::string flags = "/usr/mero/etc/merosystemd/enable-status-changed";
    EXPECT_THAT(Files("/usr/mero/etc/merosystemd"),
                ElementsAre(flags, flags + "/b.service", flags + "/passwd.service", flags + "/tmp.service"));
    EXPECT_THAT(Files("/var/packages"), ElementsAre("/var/packages/p"));
    EXPECT_FALSE(fs::exists("/run/merosystemd/reasons"));
}

TEST_F(HostileNames, APatternIsNoOtherServicesReason)
{
    ASSERT_TRUE(MEROSystemdServiceStopByReason("check", std::string("nfs")));
    (void)Calls();
    ASSERT_TRUE(MEROSystemdServiceStartByReason("check", std::string("n?s"))) << "nobody holds it";
    EXPECT_THAT(Calls(), Contains("start n?s"));
}

TEST_F(HostileNames, FoldersKeepTheUmaskAndAreNobodyElses)
{
    fs::rename("/bin/mkdir", "/bin/mkdir.real");
    WriteProgram("/bin/mkdir", "echo $(umask) $* >> /run/masks; exec /bin/mkdir.real \"$@\"");
    for (const mode_t mask : {0, 0750, 0777}) {
        const mode_t before = umask(mask);
        EXPECT_TRUE(MEROSystemdServiceStopByReason("check", std::string("nfs")));
        EXPECT_TRUE(MEROSystemdVolumeRegister("nfs", "/volume1"));
        EXPECT_EQ(umask(before), mask);
        for (const char* folder : {"/run/merosystemd", "/usr/mero/etc"}) {
            for (const auto& entry : fs::recursive_directory_iterator(folder)) {
                struct stat status;
                ASSERT_EQ(lstat(entry.path().c_str(), &status), 0);
                EXPECT_EQ(status.st_mode & 022, 0U) << entry.path();
                EXPECT_TRUE(!S_ISDIR(status.st_mode) || (status.st_mode & 0777) == (0755 & ~mask)) << entry.path();
            }
        }
        fs::remove_all("/run/merosystemd"), fs::remove_all("/usr/mero/etc");
        const std::string runs = Read("/run/masks"), first = mask == 0 ? "0022" : mask == 0750 ? "0772" : "0777";
        EXPECT_TRUE(runs.starts_with(first + " -p /run/merosystemd/reasons/nfs.service\n")) << runs;
        fs::remove("/run/masks");
    }
    fs::rename("/bin/mkdir.real", "/bin/mkdir");
}

} // namespace
