#include "running/general_options.h"

namespace MERO::Tool {

GeneralOptions& General()
{
    static GeneralOptions general;
    return general;
}

} // namespace MERO::Tool
