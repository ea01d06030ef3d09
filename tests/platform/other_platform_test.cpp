// The library's start on a system outside the NT family, which only the stand-in can be.
#include "core/global_data.h"
#include "core/lifecycle.h"
#include "core/mutex.h"
#include "core/platform_flags.h"
#include "platform/posix/test_hooks.h"

#include <gtest/gtest.h>

namespace zv::core {
namespace {

TEST(OtherPlatform, ChoosesTheMutexKind) {
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr); // the environment's start
    for (const DWORD platform : {VER_PLATFORM_WINDOWS, VER_PLATFORM_NT}) {
        platform::posix::setPlatformId(platform);
        ZvLibraryInitialize();
        const bool nt = platform == VER_PLATFORM_NT;
        EXPECT_EQ(g_bCoreNT, nt);
        EXPECT_EQ(g_bPlatformNT, nt);
        EXPECT_EQ(dynamic_cast<CCriticalSectionProvider*>(g_globalData.mutexProvider) != nullptr,
                  nt);
        EXPECT_EQ(dynamic_cast<CZvMutexProvider*>(g_globalData.mutexProvider) != nullptr, !nt);
        ZvLibraryTerminate();
    }
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
}

} // namespace
} // namespace zv::core
