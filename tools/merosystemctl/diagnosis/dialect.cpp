#include "diagnosis/dialect.h"

#include "output/output.h"

#include <merocore/file.h>
#include <merocore/process.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace MERO::Tool {
namespace {

constexpr const char* kConfiguration = "/usr/mero/etc/merosystemd/systemctl.conf";
constexpr int kFirstCurrent = 246; // the systemd that the current dialect begins with

/// systemd's number, as in "systemd 252 (252.39-1)"; 0 when it cannot be told.
int SystemdVersion()
{
    char systemctl[] = "/usr/bin/systemctl", version[] = "--version";
    char* const argv[] = {systemctl, version, nullptr};
    const std::unique_ptr<FILE, decltype(&MLIBCPclose)> output(MLIBCPopenvc(systemctl, "rB", argv), MLIBCPclose);
    int number = 0;
    return output != nullptr && std::fscanf(output.get(), "systemd %d", &number) == 1 ? number : 0;
}

} // namespace

bool IsDialectOfToday()
{
    char dialect[64];
    return MLIBCFileGetKeyValue(kConfiguration, "dialect", dialect, sizeof dialect, 0) == 0 &&
           std::strcmp(dialect, "current") == 0;
}

void WarnOfDialect()
{
    const int version = IsDialectOfToday() ? 0 : SystemdVersion(); // no process more where all is as it usually is
    if (version >= kFirstCurrent) {
        PrintError("systemd " + std::to_string(version) + " speaks the current dialect: put dialect=current into " +
                   kConfiguration);
    }
}

} // namespace MERO::Tool
