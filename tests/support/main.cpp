// main() for tests with the library inside: it is started and ended around them.
#include "core/lifecycle.h"
#include "support/self_process.h"

#include <gtest/gtest.h>

namespace {

class LibraryEnvironment : public testing::Environment {
public:
    void SetUp() override { DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr); }
    void TearDown() override { DllMain(nullptr, DLL_PROCESS_DETACH, nullptr); }
};

} // namespace

int main(int argc, char** argv) {
    LibraryEnvironment library;
    library.SetUp();
    const auto status = zv::test::runRole(argc, argv);
    library.TearDown();
    if (status)
        return *status;
    testing::InitGoogleTest(&argc, argv);
    testing::AddGlobalTestEnvironment(new LibraryEnvironment);
    return RUN_ALL_TESTS();
}
