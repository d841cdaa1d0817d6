#include "support/program.h"

#include <sys/mount.h>

using namespace MERO::Test;
using namespace ::testing;

namespace {

using Completion = Program;

TEST_F(Completion, OffersNamesThatTheCommandCanActOn)
{
    Write("/etc/systemd/system/off.service", "[Service]\n[Install]\nWantedBy=a.target\n");
    Write("/etc/systemd/system/on.service", "[Install]\n"), Write("/etc/systemd/system/other.service", "[Install]\n");
    Write("/etc/systemd/system/tty@.service", "[Install]\n"),
        Write("/usr/lib/systemd/system/plain.service", "[Unit]\n");
    Write("/usr/lib/systemd/system/vendor.service", "[Install]\n"), Write("/run/systemd/system/empty.service", "");
    fs::create_directories("/etc/systemd/system/a.target.wants"),
        fs::create_directory("/etc/systemd/system/dir.service");
    fs::create_directories("/usr/lib/systemd/system/a.target.wants");
    const std::pair<std::string, std::string> links[] = {
        {"/etc/systemd/system/a.target.wants/on.service", "../on.service"},
        {"/etc/systemd/system/a.target.wants/tty@1.service", "../tty@.service"},
        {"/usr/lib/systemd/system/a.target.wants/vendor.service", "../vendor.service"},
        {"/etc/systemd/system/alias.service", "/etc/systemd/system/other.service"},
        {"/usr/lib/systemd/system/dbus.service", "vendor.service"},
        {"/etc/systemd/system/null.service", "/dev/null"}};
    for (const auto& [link, target] : links) {
        fs::create_symlink(target, link);
    }
    Write("/usr/lib/systemd/system/small.target", "[Unit]\nAllowIsolate=yes\n");
    Write("/usr/lib/systemd/system/big.target", "[Unit]\n");
    Write("/usr/lib/systemd/system/tiny.target", "[Unit]\nAllowIsolate=true\n");
    Write("/run/loaded", "UNIT          LOAD      ACTIVE   SUB     DESCRIPTION\n"
                         "on.service    loaded    active   running Is on\n"
                         "fails.service loaded    failed   failed  Has: failed\n"
                         "gone.service  not-found inactive dead    gone.service\n"
                         "bad.service   masked    inactive dead    bad.service\n"
                         "a.slice       loaded    active   active  Slice\n"
                         "comes.service loaded    activating start Comes\n"
                         "reads.service loaded    reloading reload Reads\n"
                         "b.device      loaded    active   plugged Device\n"
                         "c.device      loaded    inactive dead    Absent\n");
    Otherwise("case $1 in list-units) cat /run/loaded;; esac");
    Write("/run/merosystemd/reasons/on.service/r1", ""), Write("/run/merosystemd/reasons/off.service/r2", "");
    Write("/var/packages/Foo/INFO", ""), Write("/run/units/on.service", "Id=on.service\nMainPID=1\n");
    ASSERT_EQ(mount("/dev/pool", (fs::create_directories("/run/vol9"), "/run/vol9"), "tmpfs", 0, ""), 0);
    Tool("volume register /v --unit on"), Tool("volume register /v --unit off");
    const std::pair<std::string, std::string> cases[] = {
        {"star", "start"},
        {"volume un", "unmount unregister"},
        {"start --v", "--verify --version"},
        {"--timeout 3 star", "start"},
        {"slice top --sort in", "input"},
        {"start ''",
         "alias.service big.target dbus.service fails.service off.service other.service plain.service small.target "
         "tiny.target tty@1.service vendor.service"},
        {"stop ''", "a.slice comes.service on.service reads.service"},
        {"restart on.service ''", "a.slice comes.service reads.service"},
        {"try-restart o", "on.service"},
        {"reset-failed ''", "fails.service"},
        {"unmask ''", "bad.service empty.service null.service"},
        {"enable ''", "off.service vendor.service"},
        {"disable ''", "on.service other.service tty@.service tty@1.service"},
        {"status fail", "fails.service"},
        {"show on.service M", "MainPID"},
        {"reason release ''", "r1 r2"},
        {"reason release r1 ''", "on.service"},
        {"reason list o", "off.service on.service"},
        {"reason remove r2 ''", "off.service"},
        {"reason add r1 o", "off.service on.service other.service"},
        {"volume plan /v /run/vol", "/run/vol9"},
        {"volume plan /v", "/v"},
        {"volume users /dev/po", "/dev/pool"},
        {"volume register --unit pl", "plain.service"},
        {"volume register --package ''", "Foo"},
        {"list-units fail", "fails.service"},
        {"list-units -t ti", "timer"},
        {"list-unit-files --state ''", "alias bad disabled enabled generated indirect linked masked static transient"},
        {"list-units --state ''", "activating active deactivating dead error exited failed inactive loaded masked "
                                  "not-found reloading running"},
        {"list-units --type=ti", "--type=timer"},
        {"list-units --type = so", "socket"},
        {"list-units --type =", "automount device mount path scope service slice socket swap target timer"},
        {"slice kill a", "a.slice"},
        {"isolate ''", "small.target tiny.target"},
        {"run-in ''", "small.target tiny.target"},
        {"cgroup move a", "a.slice"},
        {"slice show a", ""},
        {"reload c", "comes.service"},
        {"reload-or-restart c", "comes.service"},
        {"mask o", "off.service on.service other.service"},
        {"info o", "off.service on.service other.service"},
        {"uninstall pl", "plain.service"},
        {"reenable pl", "plain.service"},
        {"mask nu", ""},
        {"reenable fa", ""},
        {"info fa", ""},
        {"uninstall f", ""},
        {"slice top --interval ''", ""},
        {"nonsense ''", ""},
    };
    EXPECT_THAT(Tool("complete --").output, HasSubstr("\nwhy\n"));
    for (const auto& [words, expected] : cases) {
        EXPECT_EQ(Shell("echo $(" + kTool + "complete -- " + words + ")").output, expected + "\n") << words;
    }
    EXPECT_EQ(Tool("complete --descriptions -- stop ''").output,
              "a.slice\tSlice\ncomes.service\tComes\non.service\tIs on\nreads.service\tReads\n");
    Tool("volume register /reg9 --unit on");
    const std::pair<std::string, std::string> descriptions[] = {
        {"reason release r", "r1\tholds on.service\nr2\tholds off.service\n"},
        {"reason release r1 ''", "on.service\theld by r1\n"},
        {"volume plan /reg", "/reg9\tregistered by on.service\n"},
        {"volume plan /run/vol", "/run/vol9\t/dev/pool\n"},
        {"volume users /dev/po", "/dev/pool\t/run/vol9\n"},
    };
    for (const auto& [words, expected] : descriptions) {
        EXPECT_EQ(Tool("complete --descriptions -- " + words).output, expected) << words;
    }
    EXPECT_THAT(Tool("complete --descriptions -- start --verif").output, StartsWith("--verify\t"));
    EXPECT_EQ(Shell("PATH=$(dirname " MEROSYSTEMCTL "):$PATH bash -c '. " COMPLETION
                    "; COMP_WORDS=(merosystemctl start p); COMP_CWORD=2; _merosystemctl; echo ${COMPREPLY[@]}'")
                  .output,
              "plain.service\n");
    umount("/run/vol9");
    SystemctlScript("case $2 in --property=UnitPath) echo UnitPath=/run/own /run/generator;; esac");
    Shell("cd /run; mkdir -p own/b.target.requires own/c.target.upholds generator/b.target.wants; echo '[Install]' | "
          "tee own/off.service "
          "own/on.service own/up.service own/b.target.requires/on.service "
          "own/c.target.upholds/up.service generator/b.target.wants/off.service");
    EXPECT_EQ(Tool("complete -- enable ''").output, "off.service\n");
    EXPECT_EQ(Tool("complete -- disable ''").output, "on.service\nup.service\n");
    RemoveSystemctl();
    EXPECT_EQ(Tool("complete -- start v").output, "vendor.service\n") << "the usual folders";
}

} // namespace
