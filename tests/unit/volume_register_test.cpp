#include "core/lock.h"
#include "support/child.h"
#include "support/operations.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <algorithm>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;

namespace {

const std::string kUnits = "/usr/mero/etc/merosystemd/volume-register/", kNfs = kUnits + "nfs.service";
const std::string kEnd = "/etc/meropkg_conf/reg_volume", kFoo = "/var/packages/Foo" + kEnd, kNoFile = "none";

struct VolumeRegister : Machine {
    VolumeRegister() { fs::create_directories("/var/packages/Foo"), fs::create_directories("/var/packages/Baz"); }
    static std::string Listed() ///< the registers after a "+", or a "-" if some could not be read
    {
        std::vector<VolumeRegistration> registers;
        Texts texts{MEROSystemdVolumeRegisterList(registers) ? "+" : "-"};
        for (const VolumeRegistration& one : registers) {
            texts.push_back((one.isPackage ? "P " : "U ") + one.owner + PrintToString(one.volumes));
        }
        return std::sort(texts.begin() + 1, texts.end()), PrintToString(texts);
    }
    static auto Files() { return std::distance(fs::directory_iterator(kUnits), {}); }
};

TEST_F(VolumeRegister, KeepsTheRestOfTheFile)
{
    struct Case {
        bool adds;
        std::string before, after; ///< after: without blanks; empty: the file is left alone
    };
    const std::string odd =
        R"(5,{"a":[1.5,{}]},"ü",18446744073709551615,-9223372036854775808,null,"\u0000\"\\😀\n",["/v"])";
    const Case cases[] = {
        {true, kNoFile, R"(["/v"])"},
        {true, R"( ["/v0","/V"])", R"(["/v0","/V","/v"])"},
        {false, kNoFile, "[]"},
        {true, " [" + odd + "]", "[" + odd + R"(,"/v"])"},
        {true, R"([  5, "\u002fv", "/v"])", R"([5,"\u002fv","/v"])"},
        {false, R"(["/v",)" + odd + R"(, "/v","\/v"])", "[" + odd + "]"},
        {false, R"( [ "/v0" ] )", R"(["/v0"])"},
        {true, "", ""},
        {false, "[] x", ""},
        {true, std::string(100'000, '['), ""},
        {true, "{\"/v\":1}", ""},
        {false, "{}", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.before.substr(0, 99));
        const bool done = !c.after.empty();
        struct stat status {};
        (void)Log(), fs::remove_all(kUnits), fs::create_directories(kUnits);
        c.before == kNoFile ? void() : Write(kNfs, c.before);
        EXPECT_EQ(chmod(kNfs.c_str(), 0640) + chown(kNfs.c_str(), 1000, 100), c.before == kNoFile ? -2 : 0);
        EXPECT_TRUE((c.adds ? MEROCSystemdVolumeRegister : MEROCSystemdVolumeUnregister)("nfs", "/v") == done &&
                    Files() == 1);
        std::string compact = Read(kNfs);
        std::erase_if(compact, [](char c) { return c == ' ' || c == '\n'; });
        EXPECT_EQ(done ? compact : Read(kNfs), done ? c.after : c.before);
        EXPECT_TRUE(stat(kNfs.c_str(), &status) == 0 &&
                    (c.before == kNoFile || status.st_mode + status.st_uid == 0100640 + 1000));
        EXPECT_EQ(Said("systemd_volume_register"),
                  Texts(done ? 0 : 1, c.before[0] == '{'
                                          ? "ERR Volume register file [" + kNfs + "] is not an json array"
                                          : "ERR Fail to read volume register file [" + kNfs + "]"));
        EXPECT_EQ(MEROSystemdVolumeIsRegisteredByUnit("nfs", {"/x", "/v"}), done && c.adds);
        EXPECT_FALSE(MEROSystemdVolumeIsRegisteredByUnit("nfs", {"/x", "5"}) || Listed()[3] != (done ? '+' : '-'));
    }
    EXPECT_TRUE(fs::remove(kNfs) && mkfifo(kNfs.c_str(), 0600) == 0 && !MEROSystemdVolumeRegister("nfs", "/v"))
        << "a FIFO is not waited for";
}

TEST_F(VolumeRegister, RefusedAndImpossibleCallsChangeNothing)
{
    Write("/usr/mero/etc/merosystemd/x.service", "[\"/v\"]");
    EXPECT_FALSE(MEROSystemdVolumeRegister(std::string("a.service\0b", 11), "/v")) << "a file name ends at the NUL";
    for (const auto& [name, volume] :
         {std::pair("a", "v"), {"a", "/v/"}, {"a", "/"}, {"../x", "/v"}, {"a/b", "/v"}, {"..", "/v"}, {"/x", "/v"}}) {
        EXPECT_FALSE(MEROSystemdVolumeRegister(name, volume) || MEROSystemdVolumeUnregister(name, volume) ||
                     MEROSystemdPackageVolumeRegister(name, volume) ||
                     MEROSystemdPackageVolumeUnregister(name, volume));
        EXPECT_EQ(MLIBCErrGet(), 0x0D00) << name << volume;
    }
    Write("/var/packages" + kEnd, "[\"/v\"]");
    EXPECT_FALSE(MEROSystemdVolumeIsRegisteredByUnit("../x", {"/v"}) || fs::exists("/run/merosystemd") ||
                 MEROSystemdVolumeIsRegisteredByPackage(".", {"/v"}) ||
                 MEROSystemdVolumeIsRegisteredByPackage("Foo/..", {"/v"}) || Log().size() != 29);
    fs::remove_all("/var/packages/etc");

    const std::string temporary = kNfs + ".tmp." + std::to_string(getpid()), noDump = "ERR Fail to dump json file to [";
    EXPECT_FALSE(MEROSystemdPackageVolumeRegister("Bar", "/v") || MEROSystemdVolumeUnregister("nfs", "/v") ||
                 fs::exists("/var/packages/Bar") || fs::exists(kUnits));
    Write("/var/packages/Foo/etc", ""), fs::create_directory(kUnits);
    EXPECT_FALSE(MEROSystemdPackageVolumeRegister("Foo", "/v"));
    EXPECT_THAT(Said("systemd_volume_register"),
                ElementsAre(StartsWith("ERR Fail to MLIBCFileCheckDir on [/var/packages/Bar] [0x0900 "),
                            noDump + temporary + "]",
                            StartsWith("ERR Fail to mkdir [/var/packages/Foo/etc/meropkg_conf/] [0x0F00 ")));
    Write("/run/other", ""), fs::create_symlink("/run/other", temporary);
    EXPECT_TRUE(MEROSystemdVolumeRegister("nfs", "/v") && Files() == 1 && Read("/run/other").empty());
}

TEST_F(VolumeRegister, FollowsNoLinkPlantedByAPackage)
{
    Write("/run/secret", "[\"/secret\"]"), fs::create_directories("/var/packages/Foo/etc/meropkg_conf");
    fs::create_symlink("/run/secret", kFoo);
    EXPECT_FALSE(MEROSystemdPackageVolumeRegister("Foo", "/v") ||
                 MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/secret"}));
    EXPECT_TRUE(Listed() == R"({ "-" })" && fs::is_symlink(kFoo) && Read("/run/secret") == "[\"/secret\"]");
    fs::remove("/run/secret");
    EXPECT_TRUE(MEROSystemdPackageVolumeRegister("Foo", "/v") && !fs::is_symlink(kFoo) && !fs::exists("/run/secret"));
}

TEST_F(VolumeRegister, FollowsOnlyLinksInFoldersOfRoot)
{
    struct Case {
        std::string link, target; ///< the planted link
        uid_t owner;              ///< of the package's folder
        mode_t mode;
        bool isFollowed;
    };
    const std::string etc = "/var/packages/Foo/etc", conf = etc + "/meropkg_conf", other = "/run/other";
    for (const Case& c : {Case{"", "", 1000, 0755, true},
                          {etc, other, 0, 0755, true},
                          {etc, "../../../run/other", 0, 0755, true},
                          {conf, other, 0, 0755, true},
                          {conf, other, 1000, 0755, false},
                          {conf, other, 0, 0775, false},
                          {conf, other, 0, 01777, false},
                          {etc, other, 1000, 0755, false}}) {
        SCOPED_TRACE(c.link + " " + std::to_string(c.owner) + " " + std::to_string(c.mode));
        fs::remove_all("/var/packages/Foo"), fs::remove_all(other), (void)Log();
        fs::create_directories(c.link == conf ? etc : "/var/packages/Foo"), fs::create_directory(other);
        c.link.empty() ? void() : fs::create_symlink(c.target, c.link);
        for (const char* folder : {"/var/packages/Foo", etc.c_str()}) {
            (void)(c.link == etc && folder == etc ? 0 : chown(folder, c.owner, 0) + chmod(folder, c.mode));
        }
        for (auto* operation :
             {MEROSystemdPackageVolumeRegister, MEROSystemdPackageVolumeRegister, MEROSystemdPackageVolumeUnregister}) {
            EXPECT_EQ(operation("Foo", "/v"), c.isFollowed);
            EXPECT_EQ(MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/v"}),
                      c.isFollowed && operation == MEROSystemdPackageVolumeRegister);
        }
        EXPECT_EQ(c.isFollowed, !c.link.empty() ? !fs::is_empty(other) : fs::exists(kFoo));
        EXPECT_TRUE(c.isFollowed || MLIBCErrGet() == 0x0D00);
        EXPECT_EQ(c.isFollowed, Log().empty());
    }
}

TEST_F(VolumeRegister, IsListed)
{
    Texts packages{"before"};
    const auto list = [&] { return MEROSystemdListPackageByRegisteredVolume("/v", packages); };
    EXPECT_EQ(RunAs(0, [&] { return chroot("/run") == 0 && Listed() == "{ \"+\" }" && list(); }), 254) << "throws";
    Write(kFoo, R"(["/w",5])"), Write("/var/packages/Bar" + kEnd, R"(["/v0",["/v"]])"), Write("/var/packages/file", "");
    Write(kUnits + "b.service", "[]"), Write(kNfs + ".tmp.7", "["), Write(kNfs, R"(["/v"])");
    EXPECT_TRUE(MEROSystemdPackageVolumeRegister("Foo", "/v") && MEROCSystemdPackageVolumeRegister("Baz", "/v") &&
                MEROCSystemdPackageVolumeUnregister("Foo", "/w") &&
                MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/v"}));
    const std::string all = R"("P Bar{ \"/v0\" }", "P Baz{ \"/v\" }", "P Foo{ \"/v\" }", "U nfs.service{ \"/v\" }" })";
    EXPECT_TRUE(list() && Listed() == "{ \"+\", " + all && Log().empty()) << Listed();
    EXPECT_THAT(packages, UnorderedElementsAre("before", "Foo", "Baz"));
    Write("/var/packages/Bad" + kEnd, "[");
    EXPECT_TRUE(!list() && Log().size() == 2 && Listed() == "{ \"-\", " + all) << "the bad one is skipped";
}

TEST_F(VolumeRegister, HasOneWriterAtATime)
{
    FileLock lock("/run/merosystemd/locks/volume-register.lock", false, 0);
    EXPECT_TRUE(lock.Acquire() && !MEROSystemdPackageVolumeRegister("Foo", "/v") && MLIBCErrGet() == 0x1100);
    EXPECT_FALSE(MEROSystemdVolumeUnregister("nfs", "/v") || fs::exists(kUnits));
    EXPECT_EQ(Said("systemd_volume_register"), Texts(2, "INFO lock [" + lock.PathGet() + "] is not available."));
    lock.Release();
    std::vector<pid_t> writers;
    for (const std::string volume : {"/0", "/1", "/2", "/3", "/4", "/5", "/6", "/7"}) {
        writers.push_back(Fork([&] {
            int tries = 5000;
            while (!MEROSystemdVolumeRegister("nfs", volume) && --tries > 0) {
            }
            return tries == 0;
        }));
    }
    EXPECT_TRUE(std::ranges::all_of(writers, [](pid_t writer) { return ResultOf(writer) == 0; }));
    const std::string listed = Listed();
    EXPECT_EQ(std::ranges::count(listed, '/'), 8) << listed;
}

} // namespace
