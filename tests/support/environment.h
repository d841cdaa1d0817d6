#pragma once

namespace MERO::Test {

/// Gives this process the same environment whatever its caller's is: a language, a terminal and a path of their own.
/// What tells the tests and sanitizers how to run stays.
void MakeEnvironmentKnown();

} // namespace MERO::Test
