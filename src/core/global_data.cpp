#include "core/global_data.h"

#include "core/com/client_data.h"
#include "core/com/module_manager.h"
#include "core/mutex.h"
#include "core/platform_flags.h"
#include "platform/win32.h"

#include <utility>

namespace zv::core {

constinit CZvGlobalData g_globalData;

void CZvGlobalData::build() {
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    g_spinCount = system.dwNumberOfProcessors > 1
                      ? static_cast<std::int32_t>(5 * system.dwNumberOfProcessors)
                      : 0;

    CoreRef<IMutexProvider> provider;
    if (g_bCoreNT != 0)
        provider = makeCoreRef<CCriticalSectionProvider>();
    else
        provider = makeCoreRef<CZvMutexProvider>();
    mutexProvider = provider.detach();

    throwIfFailed(MutexCreate("CZvGlobalData::m_debugMutex", 1, m_debugMutex));
    throwIfFailed(MutexCreate("CZvGlobalData::m_migrationMutex", 0, m_migrationMutex));
    moduleManager = new CZvModuleManager;
    clientData = makeCoreRef<CZvClientData>().detach();
}

void CZvGlobalData::tearDown() noexcept {
    if (CZvClientData* client = std::exchange(clientData, nullptr))
        client->dropReference();
    delete std::exchange(moduleManager, nullptr);
    MutexTraits::close(std::exchange(m_migrationMutex, kNoHandle));
    MutexTraits::close(std::exchange(m_debugMutex, kNoHandle));
    if (IMutexProvider* provider = std::exchange(mutexProvider, nullptr))
        provider->dropReference();
}

} // namespace zv::core
