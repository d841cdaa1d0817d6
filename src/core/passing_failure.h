#pragma once

#include <cerrno>

namespace MERO::Systemd {

/// Whether a file could not be read for want of descriptors or memory, or for an error of its device: what stands in it
/// is unknown then, and may be read the next time.
inline bool IsPassingFailure(int error)
{
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == EIO;
}

} // namespace MERO::Systemd
