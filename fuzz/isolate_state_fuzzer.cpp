#include "isolate/isolate_files.h"
#include "isolate/isolate_state.h"
#include "support.h"

#include <merocore/file.h>

#include <unistd.h>

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// A target, and the text of a state file.
MERO_FUZZ_TARGET(isolate_state)
{
    static FolderFile file;
    const std::string target = TakeLine(input).c_str(); // to the first NUL, as the writer sees it
    file.Put(input);
    IsolateState state;
    MERO_REQUIRE(ReadIsolateState(file.Path(), state) == state.isolating);
    MERO_REQUIRE(state.target.size() < 64 && Holds(input, state.target));
    MERO_REQUIRE(state.isolating ? Holds(input, kIsolateStatePid) && Holds(input, kIsolateStateTarget)
                                 : state.target.empty());

    if (MLIBCFileSetKeyValue(file.Path(), kIsolateStatePid, std::to_string(getpid()).c_str(), 0) == 0 &&
        MLIBCFileSetKeyValue(file.Path(), kIsolateStateTarget, target.c_str(), 0) == 0) {
        MERO_REQUIRE(ReadIsolateState(file.Path(), state) && state.isolating && state.target == target.substr(0, 63));
    } else {
        MERO_REQUIRE(target != Trim(target));
    }
}
