#include "core/lifecycle.h"

#include "core/com/client_data.h"
#include "core/com/module_manager.h"
#include "core/global_data.h"
#include "core/heap.h"
#include "core/mutex.h"
#include "core/platform_flags.h"
#include "lang/library.h"

#include <clocale>
#include <string>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

// These tests start and stop the library themselves; the environment's start is undone around them.
class Lifecycle : public testing::Test {
protected:
    Lifecycle() { DllMain(nullptr, DLL_PROCESS_DETACH, nullptr); }
    ~Lifecycle() override {
        setHeapGate(nullptr);
        DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    }
};

TEST_F(Lifecycle, AttachBuildsAndDetachTearsDown) {
    EXPECT_EQ(g_globalData.moduleManager, nullptr);
    EXPECT_EQ(CoreStartResult(), kFail);
    EXPECT_EQ(DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr), TRUE);
    EXPECT_EQ(CoreStartResult(), kOk);
    EXPECT_EQ(g_bCoreNT, 1);
    EXPECT_EQ(g_bPlatformNT, 1);
    ASSERT_NE(g_globalData.moduleManager, nullptr);
    EXPECT_EQ(g_globalData.moduleManager->moduleCount(), 1u);
    EXPECT_NE(g_globalData.clientData, nullptr);
    EXPECT_NE(g_globalData.m_debugMutex, kNoHandle);
    EXPECT_NE(g_pTaskAllocator, nullptr);
    for (const DWORD threadReason : {2u, 3u}) {
        EXPECT_EQ(DllMain(nullptr, threadReason, nullptr), TRUE);
        EXPECT_EQ(g_globalData.moduleManager->moduleCount(), 1u);
    }

    EXPECT_EQ(DllMain(nullptr, DLL_PROCESS_DETACH, nullptr), TRUE);
    EXPECT_EQ(g_globalData.moduleManager, nullptr);
    EXPECT_EQ(g_globalData.clientData, nullptr);
    EXPECT_EQ(g_globalData.mutexProvider, nullptr);
    EXPECT_EQ(g_globalData.m_debugMutex, kNoHandle);
}

TEST_F(Lifecycle, OnlyTheFirstStartAndTheLastStopWork) {
    EXPECT_EQ(ZvCoreTerminate(), kFail);
    ZvCoreInitialize();
    const CZvModuleManager* built = g_globalData.moduleManager;
    std::setlocale(LC_ALL, "C");
    ZvCoreInitialize();
    EXPECT_EQ(g_globalData.moduleManager, built);
    EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(ZvCoreTerminate(), kOk);
    EXPECT_EQ(g_globalData.moduleManager, built);
    EXPECT_EQ(ZvCoreTerminate(), kOk);
    EXPECT_EQ(g_globalData.moduleManager, nullptr);
    EXPECT_EQ(ZvCoreTerminate(), kFail);
}

// Fails the n-th allocation and all later ones.
int allocationsLeft;
bool countdown() {
    return allocationsLeft-- > 0;
}

TEST_F(Lifecycle, KeepsTheCodeOfABuildThatFailedAndRecoversWithTheNextStart) {
    bool started = false;
    for (int n = 0; !started; ++n) {
        ASSERT_LT(n, 1000);
        allocationsLeft = n;
        setHeapGate(countdown);
        ZvCoreInitialize();
        setHeapGate(nullptr);
        started = CoreStartResult() == kOk;
        if (!started) {
            EXPECT_EQ(CoreStartResult(), kOutOfMemory) << n;
            EXPECT_EQ(g_globalData.clientData, nullptr);
        }
        EXPECT_EQ(ZvCoreTerminate(), kOk);
        EXPECT_EQ(g_globalData.moduleManager, nullptr);
    }
}

TEST(ModuleManager, KeepsEachModuleOnce) {
    CZvModuleManager manager;
    manager.ProcessDetach(8);
    manager.ProcessAttach(16);
    manager.ProcessAttach(16);
    EXPECT_EQ(manager.moduleCount(), 1u);
    manager.ProcessDetach(16);
    EXPECT_EQ(manager.moduleCount(), 0u);
}

} // namespace
} // namespace zv::core
