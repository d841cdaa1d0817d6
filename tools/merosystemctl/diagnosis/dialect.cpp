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
constexpr int kFirstCurrent = 246; // the first systemd with the current dialect

/// systemd's version, as in "systemd 252 (252.39-1)"; 0 if unknown.
int SystemdVersion()
{
    char systemctl[] = "/usr/bin/systemctl", version[] = "--version";
    char* const argv[] = {systemctl, version, nullptr};
    const std::unique_ptr<FILE, decltype(&MLIBCPclose)> output(MLIBCPopenvc(systemctl, "rB", argv), MLIBCPclose);
    int number = 0;
    return output != nullptr && std::fscanf(output.get(), "systemd %d", &number) == 1 ? number : 0;
}

/// The same from the file name of the private library, without starting a process.
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

bool IsDialectCurrent()
{
    char dialect[64];
    return MLIBCFileGetKeyValue(kConfiguration, "dialect", dialect, sizeof dialect, 0) == 0 &&
           std::strcmp(dialect, "current") == 0;
}

std::string DialectFault(bool asksSystemctl)
{
    const bool isCurrent = IsDialectCurrent();
    const int version = asksSystemctl ? SystemdVersion() : InstalledSystemdVersion();
    const std::string systemd = "systemd " + std::to_string(version);
    if (!isCurrent && version >= kFirstCurrent) {
        return systemd + " speaks the current dialect: put dialect=current into " + kConfiguration;
    }
    if (isCurrent && version > 0 && version < kFirstCurrent) {
        return systemd + " does not speak the current dialect: take dialect=current out of " + kConfiguration;
    }
    return {};
}

void WarnOfDialect()
{
    const bool asksSystemctl = !IsDialectCurrent(); // in the usual current dialect, start no extra process
    if (const std::string fault = DialectFault(asksSystemctl); !fault.empty()) {
        PrintError(fault);
    }
}

} // namespace MERO::Tool
