#include "support.h"
#include "unit/unit_name.h"

using namespace MERO::Systemd;
using namespace MERO::Fuzz;

/// A unit's name.
MERO_FUZZ_TARGET(unit_name)
{
    const std::string unit(input);
    const std::string stem = UnitNameWithoutFileExtensionGet(unit);
    const std::string type = UnitTypeGet(unit);
    MERO_REQUIRE(!Holds(type, ".") && HasKnownUnitType(unit) == (Holds(unit, ".") && IsUnitType(type)));
    MERO_REQUIRE(unit == (Holds(unit, ".") ? stem + "." + type : stem));

    const std::string normalized = NormalizedUnitNameGet(unit);
    MERO_REQUIRE(HasKnownUnitType(normalized) && normalized.starts_with(unit));
    MERO_REQUIRE(NormalizedUnitNameGet(normalized) == normalized);
}
