#include "support/operations.h"

#include <sys/stat.h>

using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kForged = "x\nNov 21 00:00:00 nas sshd[1]: Accepted password for root", kLong(5'000, 'x');
const std::string kNames[] = {
    "..",          ".",         "a/../b",    "../../../etc/passwd",
    "/etc/passwd", "-",         "--version", "--root=/tmp",
    "-rf",         "a b",       " ",         "a\tb",
    "a\nb",        kForged,     "\r",        "\x1b[2J",
    "*",           "n?s",       "[a-z]*",    "\\",
    "a'b\"c",      "$(reboot)", ";reboot",   kLong,
    "\xff\xfe",    "\xc3",      "%s%n",      "x@",
    "@",           "-.mount",
};

class HostileNames : public Machine {};

TEST_F(HostileNames, AreOneArgumentNoOptionAndNoLineOfTheLog)
{
    // The stand-in notes how many arguments it got, which options, and how many arguments stand behind "--".
    SystemctlScript("behind=0\nfor word; do\n  if [ \"$ended\" ]; then behind=$((behind + 1)); continue; fi\n"
                    "  case $word in --) ended=1 ;; -*) options=\"$options $word\" ;; esac\ndone\n"
                    "echo \"$#|$options|$behind\" >> /run/seen\nexit 1\n");
    for (const std::string& name : kNames) {
        Texts failed;
        std::string value;
        EXPECT_FALSE(MEROSystemdStart(name) || MEROSystemdStop({name}, failed) || MEROSystemdMask(name) ||
                     MEROSystemdResetFailed({name}, failed) || MEROSystemdShow(name, "Id", value))
            << name;
        EXPECT_EQ(MEROSystemdActiveStatusGet(name), -1);
        const std::string verb = name.starts_with('-') ? "3||1\n" : "2||0\n";
        const std::string question = name.starts_with('-') ? "5| --property|1\n" : "4| --property|0\n";
        EXPECT_EQ(Read("/run/seen"), verb + verb + verb + verb + question + question) << name;
        fs::remove("/run/seen");
        for (const std::string& line : Log()) {
            EXPECT_THAT(line, Not(MatchesRegex("(.|\n)*[\x01-\x08\x0b-\x1f].*"))) << line;
            EXPECT_THAT(line, Not(HasSubstr("\nNov 21"))) << line;
        }
    }
}

TEST_F(HostileNames, FoldersKeepTheUmaskAndAreNobodyElses)
{
    fs::rename("/bin/mkdir", "/bin/mkdir.real");
    WriteProgram("/bin/mkdir", "echo $(umask) $* >> /run/masks; exec /bin/mkdir.real \"$@\"");
    for (const mode_t mask : {0, 0750, 0777}) {
        const mode_t before = umask(mask);
        EXPECT_TRUE(MEROSystemdServiceStopByReason("check", std::string("nfs")) &&
                    MEROSystemdVolumeRegister("nfs", "/volume1"));
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
