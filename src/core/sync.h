// Semaphores, events and gates of the core layer, by handle.
//
// Every function answers a result code, throws nothing, and may be called by any thread. Create
// functions store kNoHandle before any work and take a null name as the empty one; what they make
// is ended by SyncClose. Events and gates are manual-reset and local to the process.
#ifndef ZVSUPPORT_CORE_SYNC_H
#define ZVSUPPORT_CORE_SYNC_H

#include "core/handle.h"
#include "core/result.h"

#include <cstdint>

namespace zv::core {

// The largest count of a semaphore.
inline constexpr std::int32_t kSemaphoreMaximum = 0x7FFF;
// Creation flag: the semaphore is shared, under "SEM:" and its name, with every process that opens
// it.
inline constexpr std::uint32_t kSemaphoreShared = 0x2;

ResultCode SemaphoreCreate(std::int32_t initialCount, const char* name, std::uint32_t flags,
                           Handle& semaphore) noexcept;
// A shared semaphore: creates it with that count, or opens the one of that name that exists.
ResultCode createNamedSemaphore(const char* name, std::int32_t initialCount,
                                Handle& semaphore) noexcept;
ResultCode SemaphoreWait(Handle semaphore) noexcept;
ResultCode SemaphoreTryWait(Handle semaphore) noexcept; // kFail when the count is 0
ResultCode SemaphoreRelease(Handle semaphore) noexcept; // kFail beyond the maximum

ResultCode EventCreate(const char* name, std::uint32_t flags, Handle& event) noexcept;
ResultCode EventWait(Handle event) noexcept;
ResultCode EventTryWait(Handle event) noexcept; // kFail when not signalled
ResultCode EventWaitFor(Handle event, std::uint32_t milliseconds) noexcept; // kTimeout
// Releases the threads that wait now; one that comes later waits for the next pulse.
ResultCode EventPulse(Handle event) noexcept;

ResultCode GateCreate(const char* name, std::uint32_t flags, Handle& gate) noexcept; // closed
ResultCode GateOpen(Handle gate) noexcept;
ResultCode GateClose(Handle gate) noexcept;
ResultCode GateWait(Handle gate) noexcept;
ResultCode GateTryWait(Handle gate) noexcept;                             // kFail when closed
ResultCode GateWaitFor(Handle gate, std::uint32_t milliseconds) noexcept; // kTimeout

// Ends a semaphore, an event or a gate.
ResultCode SyncClose(Handle record) noexcept;

struct SyncTraits {
    using Type = Handle;
    static constexpr Handle none() { return kNoHandle; }
    static void close(Handle record) { SyncClose(record); }
};
using UniqueSync = UniqueHandle<SyncTraits>;

} // namespace zv::core

#endif
