// main() for tests that meet the library as a host process does.
#include "support/self_process.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    if (const auto status = zv::test::runRole(argc, argv))
        return *status;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
