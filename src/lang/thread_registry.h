// One record for each thread that has asked for one, by thread identifier.
#ifndef ZVSUPPORT_LANG_THREAD_REGISTRY_H
#define ZVSUPPORT_LANG_THREAD_REGISTRY_H

#include "core/mutex.h"
#include "core/ref_counted.h"
#include "platform/win32.h"

#include <cstdint>
#include <map>

namespace zv::core {

// Called once by the allocation operator when the heap is exhausted; may throw.
using AllocFailureHandler = void (*)();

// Fields are read and written by the record's own thread.
class CZvThreadData final : public CZvCoreRefCounted {
public:
    explicit CZvThreadData(HANDLE threadHandle) : threadHandle(threadHandle) {}

    AllocFailureHandler allocFailureHandler = nullptr;
    HANDLE threadHandle; // a pseudo-handle, kept and never used
};

// Any thread may call any operation. Records are never removed while the registry lives: a thread
// that gets an ended thread's identifier finds that thread's record.
class CZvThreadManager {
public:
    // Registers the calling thread. Throws EZvCoreException when the mutex cannot be made.
    CZvThreadManager();
    ~CZvThreadManager();
    CZvThreadManager(const CZvThreadManager&) = delete;
    CZvThreadManager& operator=(const CZvThreadManager&) = delete;

    // The record for that thread, or null. Throws EZvCoreException when the mutex fails.
    CoreRef<CZvThreadData> find(std::uint32_t threadId);
    // Stores a new record for that thread in place of any older one, whose holders keep it.
    void registerThread(std::uint32_t threadId, HANDLE threadHandle);

private:
    UniqueMutex m_mapMutex;
    std::map<std::uint32_t, CoreRef<CZvThreadData>> threads;
};

// Stores `handler` for the calling thread and answers the one before (null at first). Throws
// EZvCoreException, kFail when the core layer is not started.
AllocFailureHandler SetAllocFailureHandler(AllocFailureHandler handler);

} // namespace zv::core

#endif
