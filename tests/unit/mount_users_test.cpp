#include "core/text_reader.h"
#include "support/child.h"
#include "support/operations.h"
#include "volume/mount_path.h"
#include "volume/text_table.h"

#include <fcntl.h>
#include <sys/stat.h>

using namespace MERO::Systemd;
using namespace MERO::Test;
using namespace ::testing;
using namespace std::string_literals;

namespace {

const std::string kVolume = "/run/pool", a = kVolume + "/a", b = kVolume + "/d/b";

struct MountUsers : Machine {
    MountUsers() { Write(a, "text"), Write(b, "text"), Write(kVolume + "0/c", "text"); }
};

TEST_F(MountUsers, APathIsBelowByWhatItLeadsTo)
{
    fs::create_symlink(b, "/run/link"), fs::create_symlink(kVolume + "/d", "/run/into");
    fs::create_symlink("/etc", kVolume + "/out"), fs::create_symlink("/etc/passwd", kVolume + "/away");
    std::vector<std::pair<std::string, std::string>> cases{
        {kVolume, kVolume},
        {a, a},
        {b, b},
        {"/run/link", b},
        {"/run/into", kVolume + "/d"},
        {"/run/into/b", b},
        {"/run/into/../a", a},
        {kVolume + "/", kVolume},
        {kVolume + "/d/..", kVolume},
    };
    const Texts elsewhere{kVolume + "0",
                          kVolume + "0/c",
                          "/run",
                          "/",
                          a + "/",
                          kVolume + "/out",
                          kVolume + "/out/passwd",
                          kVolume + "/away",
                          kVolume + "/none/a",
                          kVolume + "/none",
                          a + "/x",
                          a + " (deleted)",
                          a.substr(1),
                          "",
                          "pipe:[1]"};
    for (const std::string& path : elsewhere) {
        cases.emplace_back(path, "");
    }
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

TEST_F(MountUsers, TextsAreHandedOutInWholeLines)
{
    const std::string path = "/run/lines";
    std::string many;
    for (int i = 0; i < 50'000; ++i) {
        many += "line " + std::to_string(i) + "\n";
    }
    const std::string longerThanTheBuffer = many + "end", line(300'000, 'x'), inTheMiddle = "a\n" + line + "\nend";
    TextReader reader;
    for (const std::string& text :
         {""s, "\n"s, "end"s, "a\nb\n"s, "a\nend"s, many, longerThanTheBuffer, line, inTheMiddle}) {
        Write(path, text);
        std::string seen;
        EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), [&](std::string_view lines) {
            seen += lines;
            EXPECT_TRUE(lines.ends_with('\n') || seen.size() == text.size());
            return !lines.empty();
        }));
        EXPECT_TRUE(seen == text && reader.Read(AT_FDCWD, path.c_str()) == text) << text.substr(0, 20);
    }
    int pieces = 0;
    const auto one = [&](std::string_view) { return ++pieces < 1; };
    EXPECT_TRUE(reader.ReadLines(AT_FDCWD, path.c_str(), one) && pieces == 1);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, "/run/none", one) || errno != ENOENT);
    EXPECT_FALSE(reader.ReadLines(AT_FDCWD, "/", one) || errno != EISDIR);
}

TEST_F(MountUsers, ATableKeepsItsTextsWhileItGrows)
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
