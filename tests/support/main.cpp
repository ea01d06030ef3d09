#include "core/lifecycle.h"

#include <gtest/gtest.h>

namespace {

class LibraryEnvironment : public testing::Environment {
public:
    void SetUp() override { DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr); }
    void TearDown() override { DllMain(nullptr, DLL_PROCESS_DETACH, nullptr); }
};

} // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new LibraryEnvironment);
    return RUN_ALL_TESTS();
}
