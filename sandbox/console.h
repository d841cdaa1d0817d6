#pragma once

#include <string>

#include "platform/core/owners.h"

namespace MERO::Sandbox {

/// The last lines that were written to a box's `/dev/console`.
class Console {
public:
    /// @param terminalMaster  non-blocking
    explicit Console(Descriptor terminalMaster);

    /// Becomes readable when there is something to Collect.
    int Get() const { return master.Get(); }

    /// Takes what was written; without it the box would wait for room on its console.
    void Collect();

    /// The last lines, each after a line break and indented.
    std::string Tail() const;

private:
    void HoldOpen();

    Descriptor master;
    Descriptor terminal;
    std::string text;
};

} // namespace MERO::Sandbox
