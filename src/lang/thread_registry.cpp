#include "lang/thread_registry.h"

#include "core/com/client_data.h"
#include "core/global_data.h"

#include <utility>

namespace zv::core {

CZvThreadManager::CZvThreadManager() : m_mapMutex(makeMutex("CZvThreadManager::m_mapMutex", 0)) {
    registerThread(GetCurrentThreadId(), GetCurrentThread());
}

CZvThreadManager::~CZvThreadManager() = default;

CoreRef<CZvThreadData> CZvThreadManager::find(std::uint32_t threadId) {
    MutexHold hold(m_mapMutex.get());
    const auto found = threads.find(threadId);
    return found == threads.end() ? nullptr : found->second;
}

void CZvThreadManager::registerThread(std::uint32_t threadId, HANDLE threadHandle) {
    // Whatever is replaced is dropped after the mutex is given back: the old record may be deleted.
    CoreRef<CZvThreadData> record = makeCoreRef<CZvThreadData>(threadHandle);
    MutexHold hold(m_mapMutex.get());
    std::swap(threads[threadId], record);
}

AllocFailureHandler SetAllocFailureHandler(AllocFailureHandler handler) {
    CZvClientData* client = g_globalData.clientData;
    if (client == nullptr)
        throw EZvCoreException(kFail);
    CZvThreadManager& registry = client->threads();
    const std::uint32_t thread = GetCurrentThreadId();
    CoreRef<CZvThreadData> record = registry.find(thread);
    if (!record) {
        registry.registerThread(thread, GetCurrentThread());
        record = registry.find(thread);
    }
    return std::exchange(record->allocFailureHandler, handler);
}

} // namespace zv::core
