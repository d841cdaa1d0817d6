#include "support/machine.h"

#include <iostream>

int main(int argc, char* argv[])
{
    ::testing::InitGoogleTest(&argc, argv);
    if (!::testing::GTEST_FLAG(list_tests)) {
        try {
            MERO::Test::EnterMachine();
        } catch (const std::exception& error) {
            std::cerr << argv[0] << ": the tests need a machine of their own: " << error.what() << '\n';
            return 1;
        }
    }
    return RUN_ALL_TESTS();
}
