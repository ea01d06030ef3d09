#include "core/sync.h"

#include "platform/win32.h"

#include <memory>
#include <string>

namespace zv::core {
namespace {

// What a handle of this file points to.
struct SyncRecord {
    HANDLE object;
    std::string name;
    std::uint32_t flags;
};

SyncRecord& recordOf(Handle handle) {
    if (handle == kNoHandle || handle == 0)
        throw EZvCoreException(kInvalidHandle);
    return *reinterpret_cast<SyncRecord*>(handle);
}

// Makes a record around what create() answers, a HANDLE that is null on failure.
template <typename Create>
ResultCode createRecord(const char* name, std::uint32_t flags, Handle& handle, Create create) {
    handle = kNoHandle;
    return coreFrame([&] {
        std::unique_ptr<SyncRecord> record(
            new SyncRecord{nullptr, name != nullptr ? name : "", flags});
        record->object = create(*record);
        if (record->object == nullptr)
            throwLastError();
        handle = reinterpret_cast<Handle>(record.release());
        return kOk;
    });
}

HANDLE createSemaphore(const SyncRecord& record, std::int32_t initialCount) {
    const std::string objectName = "SEM:" + record.name;
    const bool shared = (record.flags & kSemaphoreShared) != 0;
    return CreateSemaphoreA(nullptr, initialCount, kSemaphoreMaximum,
                            shared ? objectName.c_str() : nullptr);
}

ResultCode createManualEvent(const char* name, std::uint32_t flags, Handle& handle) {
    return createRecord(name, flags, handle, [](const SyncRecord&) {
        return CreateEventA(nullptr, TRUE, FALSE, nullptr);
    });
}

// Waits; answers `refused` when the time runs out.
ResultCode wait(Handle handle, DWORD milliseconds, ResultCode refused) {
    return coreFrame([&] {
        const DWORD answer = WaitForSingleObject(recordOf(handle).object, milliseconds);
        if (answer == WAIT_FAILED)
            throwLastError();
        return answer == WAIT_TIMEOUT ? refused : kOk;
    });
}

// Makes one call about a record's object that answers zero on failure.
template <typename Call>
ResultCode change(Handle handle, Call call) {
    return coreFrame([&] {
        if (call(recordOf(handle).object) == 0)
            throwLastError();
        return kOk;
    });
}

} // namespace

ResultCode SemaphoreCreate(std::int32_t initialCount, const char* name, std::uint32_t flags,
                           Handle& semaphore) noexcept {
    return createRecord(name, flags, semaphore, [&](const SyncRecord& record) {
        return createSemaphore(record, initialCount);
    });
}

ResultCode createNamedSemaphore(const char* name, std::int32_t initialCount,
                                Handle& semaphore) noexcept {
    return SemaphoreCreate(initialCount, name, kSemaphoreShared | 1, semaphore);
}

ResultCode SemaphoreWait(Handle semaphore) noexcept {
    return wait(semaphore, INFINITE_WAIT, kTimeout);
}

ResultCode SemaphoreTryWait(Handle semaphore) noexcept {
    return wait(semaphore, 0, kFail);
}

ResultCode SemaphoreRelease(Handle semaphore) noexcept {
    return change(semaphore, [](HANDLE object) { return ReleaseSemaphore(object, 1, nullptr); });
}

ResultCode EventCreate(const char* name, std::uint32_t flags, Handle& event) noexcept {
    return createManualEvent(name, flags, event);
}

ResultCode EventWait(Handle event) noexcept {
    return wait(event, INFINITE_WAIT, kTimeout);
}

ResultCode EventTryWait(Handle event) noexcept {
    return wait(event, 0, kFail);
}

ResultCode EventWaitFor(Handle event, std::uint32_t milliseconds) noexcept {
    return wait(event, milliseconds, kTimeout);
}

ResultCode EventPulse(Handle event) noexcept {
    return change(event, PulseEvent);
}

ResultCode GateCreate(const char* name, std::uint32_t flags, Handle& gate) noexcept {
    return createManualEvent(name, flags, gate);
}

ResultCode GateOpen(Handle gate) noexcept {
    return change(gate, SetEvent);
}

ResultCode GateClose(Handle gate) noexcept {
    return change(gate, ResetEvent);
}

ResultCode GateWait(Handle gate) noexcept {
    return wait(gate, INFINITE_WAIT, kTimeout);
}

ResultCode GateTryWait(Handle gate) noexcept {
    return wait(gate, 0, kFail);
}

ResultCode GateWaitFor(Handle gate, std::uint32_t milliseconds) noexcept {
    return wait(gate, milliseconds, kTimeout);
}

ResultCode SyncClose(Handle handle) noexcept {
    return coreFrame([&] {
        const std::unique_ptr<SyncRecord> record(&recordOf(handle));
        if (CloseHandle(record->object) == 0)
            throwLastError();
        return kOk;
    });
}

} // namespace zv::core
