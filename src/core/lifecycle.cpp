#include "core/lifecycle.h"

#include "core/com/client_data.h"
#include "core/com/module_manager.h"
#include "core/global_data.h"
#include "core/mutex.h"
#include "core/platform_flags.h"
#include "core/wide_calls.h"
#include "lang/exception.h"
#include "lang/library.h"

#include <clocale>
#include <cstdint>

namespace zv::core {

std::int32_t g_bCoreNT = 0;
std::int32_t g_bPlatformNT = 0;
IMalloc* g_pTaskAllocator = nullptr;

namespace {

constinit std::int32_t coreStartCount = 0;
constinit ResultCode coreStartResult = kFail;

// The module is known by the address of its entry point.
std::uintptr_t moduleIdentity() {
    return reinterpret_cast<std::uintptr_t>(&DllMain);
}

void notifyModuleManager(void (CZvModuleManager::*notification)(std::uintptr_t)) {
    coreFrame([&] {
        CZvModuleManager* manager = g_globalData.moduleManager;
        if (manager == nullptr)
            return kFail;
        (manager->*notification)(moduleIdentity());
        return kOk;
    });
}

} // namespace

void ZvCoreInitialize() {
    if (++coreStartCount != 1)
        return;
    (void)std::setlocale(LC_ALL, "");

    OSVERSIONINFOW version{};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExW(&version);
    g_bCoreNT = version.dwPlatformId == VER_PLATFORM_NT;
    LoadWideCalls(); // the table depends on the flag

    coreStartResult = coreFrame([] {
        g_globalData.build();
        return kOk;
    });
    if (coreStartResult < 0)
        return;
    CoGetMalloc(1, &g_pTaskAllocator);
}

ResultCode ZvCoreTerminate() noexcept {
    if (coreStartCount < 1)
        return kFail;
    if (--coreStartCount != 0)
        return kOk;
    if (g_pTaskAllocator != nullptr && g_pTaskAllocator->Release() == 0)
        g_pTaskAllocator = nullptr;
    g_globalData.tearDown();
    coreStartResult = kFail;
    return kOk;
}

ResultCode CoreStartResult() noexcept {
    return coreStartResult;
}

void ZvLibraryInitialize() {
    ZvCoreInitialize();
    ZVCL::ZvclInitialize();

    OSVERSIONINFOA version{};
    version.dwOSVersionInfoSize = sizeof version;
    GetVersionExA(&version);
    g_bPlatformNT = version.dwPlatformId == VER_PLATFORM_NT;
}

void ZvLibraryTerminate() {
    ZVCL::ZvclTerminate();
    ZvCoreTerminate();
}

} // namespace zv::core

BOOL ZV_SYSTEM_CALL DllMain(HINSTANCE, DWORD reason, void*) {
    using namespace zv::core;
    if (reason == DLL_PROCESS_ATTACH) {
        ZVCL::resultFrame([] {
            ZvLibraryInitialize();
            return kOk;
        });
        notifyModuleManager(&CZvModuleManager::ProcessAttach);
    } else if (reason == DLL_PROCESS_DETACH) {
        notifyModuleManager(&CZvModuleManager::ProcessDetach);
        ZVCL::resultFrame([] {
            ZvLibraryTerminate();
            return kOk;
        });
    }
    return TRUE;
}
