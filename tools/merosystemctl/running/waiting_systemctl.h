#pragma once

namespace MERO::Tool {

/// Ends this program's systemctl children that wait for jobs. The jobs stay queued. Returns whether there were any.
bool EndWaitingSystemctl();

} // namespace MERO::Tool
