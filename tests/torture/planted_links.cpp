// A user who owns a package's files swaps them for links while root writes there: nothing outside changes.
#include "torture/torture.h"

#include <fcntl.h>
#include <sys/stat.h>

using namespace MERO::Torture;
using namespace MERO::Systemd;

namespace {

namespace fs = std::filesystem;

constexpr uid_t kUser = 1000;
const std::string kEtc = "/var/packages/Foo/etc/", kFolder = kEtc + "meropkg_conf", kOutside = "/run/outside/";

/// Mode, owner and text of everything that the user must not be able to change.
std::string Outside()
{
    return Shell("cd /run/outside; find . -printf '%p %M %U\\n' -type f -exec cat {} +").output;
}

/// Swaps the register's folder, and the register in it, for links, and creates them again when they are gone.
[[noreturn]] void Attack()
{
    const std::string planted = kEtc + "planted", inside = kFolder + "/reg_volume", spare = kEtc + "spare";
    const char* const targets[] = {"secret", "folder", "missing"};
    for (unsigned turn = 0;; ++turn) {
        const std::string target = kOutside + targets[turn % 3];
        unlink(planted.c_str());
        (void)symlink(target.c_str(), planted.c_str());
        for (int swap = 0; swap < 50; ++swap) {
            renameat2(AT_FDCWD, planted.c_str(), AT_FDCWD, kFolder.c_str(), RENAME_EXCHANGE);
        }
        if (turn % 5 == 0) { // the folder itself goes, and a new one of the user comes
            rename(kFolder.c_str(), (spare + std::to_string(turn)).c_str());
            mkdir(kFolder.c_str(), 0755);
            (void)symlink(target.c_str(), inside.c_str());
        }
    }
}

} // namespace

MERO_TORTURE(planted_links, Machine)
{
    fs::create_directories(kEtc), fs::create_directories(kOutside + "folder");
    Machine::Write(kOutside + "secret", "[\"/secret\"]"), Machine::Write(kOutside + "source", "");
    chmod((kOutside + "secret").c_str(), 0600), chmod((kOutside + "folder").c_str(), 0700);
    (void)chown(kEtc.c_str(), kUser, kUser);
    const std::string before = Outside();
    const pid_t user = Fork([]() -> int { Attack(); }, kUser);
    umask(0);
    for (const auto begin = Clock::now(); Since(begin) < 30 * run.Scale(); run.Done(10)) {
        std::vector<VolumeRegistration> registers;
        (void)MEROSystemdPackageVolumeRegister("Foo", "/v"), (void)MEROSystemdPackageVolumeUnregister("Foo", "/v");
        (void)MEROSystemdVolumeRegister("nfs", "/v"), (void)MEROSystemdVolumeUnregister("nfs", "/v");
        (void)LinkMeroReason(kFolder + "/", kOutside + "source");
        (void)MEROSystemdServiceStopByReason("check", std::string("nfs"));
        (void)MEROSystemdServiceReasonRemove("check", std::string("nfs")), (void)MEROSystemdEnable("nfs");
        run.Expect(!MEROSystemdVolumeIsRegisteredByPackage("Foo", {"/secret"}), "a register was read through a link");
        (void)MEROSystemdVolumeRegisterList(registers);
    }
    run.Expect(kill(user, SIGKILL) == 0 && ResultOf(user) == 255, "the attack did not last to the end");
    run.ExpectSame(before, Outside());
}
