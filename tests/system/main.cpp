#include "support/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    if (std::getenv("MERO_IN_SANDBOX") == nullptr && !::testing::GTEST_FLAG(list_tests)) {
        std::cerr << argv[0] << ": starts and stops units as it likes; run it by way of ctest, inside mero-sandbox\n";
        return 1;
    }
    MERO::Test::MakeEnvironmentKnown();
    return RUN_ALL_TESTS();
}
