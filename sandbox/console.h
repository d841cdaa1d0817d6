#pragma once

#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// The last lines that were written to a sandbox's `/dev/console`.
class Console {
public:
    /// @param terminalMaster  non-blocking
    explicit Console(Descriptor terminalMaster);

    /// Becomes readable when there is something to collect.
    int Get() const { return master.Get(); }

    /// Reads what was written; otherwise the sandbox would block once its console is full.
    void Collect();

    /// The last lines, each indented and on a new line.
    std::string Tail() const;

private:
    void HoldOpen();

    Descriptor master;
    Descriptor terminal;
    std::string text;
};

} // namespace MERO::Sandbox
