#include "diagnosis/dialect.h"

#include "output/output.h"

#include <merocore/file.h>
#include <merocore/process.h>

#include <glob.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace MERO::Tool {
namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";
constexpr int kFirstCurrent = 246; // the systemd that the current dialect begins with

/// systemd's number, as in "systemd 252 (252.39-1)"; 0 when it is not known.
int SystemdVersion()
{
    char systemctl[] = "/usr/bin/systemctl", version[] = "--version";
    char* const argv[] = {systemctl, version, nullptr};
    const std::unique_ptr<FILE, decltype(&MLIBCPclose)> output(MLIBCPopenvc(systemctl, "rB", argv), MLIBCPclose);
    int number = 0;
    return output != nullptr && std::fscanf(output.get(), "systemd %d", &number) == 1 ? number : 0;
}

/// The same, from the file name of systemd's private library: that starts no process.
int InstalledSystemdVersion()
{
    glob_t found{};
    int number = 0;
    if (glob("/usr/lib/{,*-linux-*/}systemd/libsystemd-shared-*.so", GLOB_BRACE, nullptr, &found) == 0) {
        (void)std::sscanf(std::strrchr(found.gl_pathv[0], '/'), "/libsystemd-shared-%d", &number);
    }
    globfree(&found);
    return number;
}

} // namespace

bool IsDialectOfToday()
{
    char dialect[64];
    return MLIBCFileGetKeyValue(kConfiguration, "dialect", dialect, sizeof dialect, 0) == 0 &&
           std::strcmp(dialect, "current") == 0;
}

std::string DialectFault(bool asksSystemctl)
{
    const bool isOfToday = IsDialectOfToday();
    const int version = asksSystemctl ? SystemdVersion() : InstalledSystemdVersion();
    const std::string systemd = "systemd " + std::to_string(version);
    if (!isOfToday && version >= kFirstCurrent) {
        return systemd + " speaks the current dialect: put dialect=current into " + kConfiguration;
    }
    if (isOfToday && version > 0 && version < kFirstCurrent) {
        return systemd + " does not speak the current dialect: take dialect=current out of " + kConfiguration;
    }
    return {};
}

void WarnOfDialect()
{
    const bool asksSystemctl = !IsDialectOfToday(); // as usual: no process more otherwise
    if (const std::string fault = DialectFault(asksSystemctl); !fault.empty()) {
        PrintError(fault);
    }
}

} // namespace MERO::Tool
