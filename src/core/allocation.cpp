// The allocation operator of the whole library. The linker keeps these names inside the library, so
// a host's own operator new stays its own.
#include "core/com/client_data.h"
#include "core/global_data.h"
#include "core/heap.h"
#include "lang/thread_registry.h"

#include <cstddef>
#include <new>

namespace {

using namespace zv::core;

// The handler that the calling thread has registered, or null. The record's reference is dropped
// before the handler may run.
AllocFailureHandler currentHandler() noexcept {
    AllocFailureHandler handler = nullptr;
    coreFrame([&] {
        if (CZvClientData* client = g_globalData.clientData) {
            if (const auto record = client->threads().find(GetCurrentThreadId()))
                handler = record->allocFailureHandler;
        }
        return kOk;
    });
    return handler;
}

// There is no retry: a handler that returns still leads to the throw.
[[noreturn]] void reportExhaustion() {
    if (const AllocFailureHandler handler = currentHandler())
        handler();
    throwBadAllocation();
}

} // namespace

void* operator new(std::size_t size) {
    if (void* block = heapAllocate(size != 0 ? size : 1))
        return block;
    reportExhaustion();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void operator delete(void* block) noexcept {
    heapFree(block);
}
void operator delete[](void* block) noexcept {
    heapFree(block);
}
void operator delete(void* block, std::size_t) noexcept {
    heapFree(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    heapFree(block);
}
