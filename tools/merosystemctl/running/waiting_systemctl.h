#pragma once

namespace MERO::Tool {

/// Ends the systemctl programs that this one has started and that wait for jobs. The jobs stay queued. Whether there
/// were any.
bool EndWaitingSystemctl();

} // namespace MERO::Tool
