#include "sandbox/capabilities.h"

#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "sandbox/check.h"

namespace MERO::Sandbox {

namespace {

constexpr int kHostCapabilities[] = {
    CAP_SYS_MODULE, CAP_SYS_TIME,      CAP_SYS_RAWIO,     CAP_SYSLOG,    CAP_SYS_PACCT,
    CAP_MKNOD,      CAP_NET_ADMIN,     CAP_WAKE_ALARM,    CAP_MAC_ADMIN, CAP_MAC_OVERRIDE,
    CAP_AUDIT_READ, CAP_AUDIT_CONTROL, CAP_BLOCK_SUSPEND, CAP_BPF,       CAP_PERFMON,
};

} // namespace

void DropHostCapabilities()
{
    for (const int capability : kHostCapabilities)
        // The kernel may not know the capability.
        if (prctl(PR_CAPBSET_READ, capability, 0, 0, 0) == 1)
            Check(prctl(PR_CAPBSET_DROP, capability, 0, 0, 0), "cannot drop capabilities");

    // Inheritable capabilities survive an exec in spite of the bounding set.
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3]{};
    Check(syscall(SYS_capget, &header, sets), "cannot read capabilities");
    for (__user_cap_data_struct& set : sets)
        set.inheritable = 0;
    Check(syscall(SYS_capset, &header, sets), "cannot drop capabilities");
}

} // namespace MERO::Sandbox
