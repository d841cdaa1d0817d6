#include "resource/slice_name.h"

#include "unit/unit_name.h"

namespace MERO::Systemd {

bool IsSliceName(const std::string& name)
{
    return name.find('/') == name.npos && UnitTypeGet(name) == "slice";
}

} // namespace MERO::Systemd
