#include "support/child.h"
#include "support/operations.h"
#include "volume/mount_path.h"
#include "volume/text_table.h"

#include <sys/stat.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
namespace fs = std::filesystem;

namespace {

const std::string kVolume = "/run/pool", a = kVolume + "/a", b = kVolume + "/d/b";

struct MountUsers : Machine {
    MountUsers() { Write(a, "text"), Write(b, "text"), Write(kVolume + "0/c", "text"); }
};

TEST_F(MountUsers, APathIsBelowByWhatItLeadsTo)
{
    fs::create_symlink(b, "/run/link"), fs::create_symlink(kVolume + "/d", "/run/into");
    fs::create_symlink("/etc", kVolume + "/out"), fs::create_symlink("/etc/passwd", kVolume + "/away");
    const std::pair<std::string, std::string> cases[] = {
        {kVolume, kVolume},
        {a, a},
        {b, b},
        {kVolume + "0", ""},
        {kVolume + "0/c", ""},
        {"/run", ""},
        {"/", ""},
        {"/run/link", b},
        {"/run/into", kVolume + "/d"},
        {"/run/into/b", b},
        {"/run/into/../a", a},
        {a + "/", ""},
        {kVolume + "/out", ""},
        {kVolume + "/out/passwd", ""},
        {kVolume + "/away", ""},
        {kVolume + "/none/a", ""},
        {kVolume + "/none", ""},
        {a + "/x", ""},
        {kVolume + "/", kVolume},
        {kVolume + "/d/..", kVolume},
        {a + " (deleted)", ""},
        {a.substr(1), ""},
        {"", ""},
        {"pipe:[1]", ""},
    };
    MountPath known(kVolume), trailing(kVolume + "/"), root("/");
    for (const auto& [path, resolved] : cases) {
        EXPECT_TRUE(MountPath(kVolume).Match(path) == resolved && known.Match(path) == resolved) << path;
        EXPECT_TRUE(trailing.Match(path).empty() && root.Match(path) == (path == "/" ? "/" : "")) << path;
    }
    fs::create_symlink("/", "/run/root");
    EXPECT_EQ(MountPath("/run").Match("/run/root/run"), "/run");
    struct stat status;
    ASSERT_TRUE(stat(kVolume.c_str(), &status) == 0 && mknod("/run/node", S_IFBLK | 0600, status.st_dev) == 0);
    MountPath device("/run/node");
    EXPECT_TRUE(device.Match(a) == a && device.Match("/run/into/b") == b && device.Match("/run/node") == "/run/node");
    EXPECT_TRUE(device.Match("/etc/passwd").empty() && device.Match("/usr/mero").empty() &&
                device.Match("/run/none").empty());
}

TEST(TextTable, KeepsItsTextsWhileItGrows)
{
    TextTable table;
    for (const char* round : {"new", "known"}) {
        for (int i = 0; i < 5000; ++i) {
            const std::string number = std::to_string(i);
            TextTable::Entry& entry = table["text " + number];
            EXPECT_EQ(entry.value, round == std::string("new") ? "" : "value " + number);
            entry.value = table.Keep({"value ", number});
        }
    }
}

TEST_F(MountUsers, CannotBeToldWithoutProc)
{
    EXPECT_EQ(RunAs(0,
                    [] {
                        Texts services{"before"};
                        return chroot("/run") == 0 && !MEROSystemdServiceListByMntPath("/", services) &&
                               MLIBCErrGet() == 0x0900 && services.size() == 1;
                    }),
              1);
    bool skip = true;
    EXPECT_TRUE(!MEROSystemdServiceSkipListByMntPath("none", skip) && MLIBCErrGet() == 0x0700 && skip);
}

} // namespace
