#include "platform/posix/handles.h"

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace zv::platform::posix {
namespace {

constexpr std::uintptr_t kStep = 4;

struct HandleTable {
    std::vector<ObjectPointer> objects; // the handle's value is (index + 1) * kStep
    std::vector<std::size_t> unused;    // indices; has room for every index, so giving back is safe
};

constinit std::mutex tableMutex;
constinit HandleTable* table = nullptr; // made at the first handle, ended by releaseHandles

// The handle's entry, or null. The table's lock is held.
ObjectPointer* entryOf(HANDLE handle) {
    const auto value = reinterpret_cast<std::uintptr_t>(handle);
    if (table == nullptr || value % kStep != 0 || value / kStep - 1 >= table->objects.size())
        return nullptr;
    ObjectPointer& entry = table->objects[value / kStep - 1];
    return entry != nullptr ? &entry : nullptr;
}

} // namespace

DWORD HandleObject::wait(DWORD) {
    return failWith(ERROR_INVALID_HANDLE, WAIT_FAILED);
}

HANDLE newHandle(ObjectPointer object) {
    const std::lock_guard lock(tableMutex);
    if (table == nullptr)
        table = new HandleTable;
    std::size_t index = table->objects.size();
    if (!table->unused.empty()) {
        index = table->unused.back();
        table->unused.pop_back();
        table->objects[index] = std::move(object);
    } else {
        if (table->unused.capacity() <= index)
            table->unused.reserve(2 * index + 8);
        table->objects.push_back(std::move(object));
    }
    return reinterpret_cast<HANDLE>((index + 1) * kStep);
}

ObjectPointer objectOf(HANDLE handle) noexcept {
    const std::lock_guard lock(tableMutex);
    if (const ObjectPointer* entry = entryOf(handle))
        return *entry;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

ObjectPointer takeHandle(HANDLE handle, bool (*fits)(const HandleObject&)) noexcept {
    const std::lock_guard lock(tableMutex);
    ObjectPointer* entry = entryOf(handle);
    if (entry == nullptr || !fits(**entry)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    table->unused.push_back(static_cast<std::size_t>(entry - table->objects.data()));
    return std::exchange(*entry, nullptr);
}

void releaseHandles() noexcept {
    HandleTable* ended = nullptr;
    {
        const std::lock_guard lock(tableMutex);
        ended = std::exchange(table, nullptr);
    }
    delete ended;
}

} // namespace zv::platform::posix

using namespace zv::platform::posix;

BOOL CloseHandle(HANDLE handle) {
    const ObjectPointer ended =
        takeHandle(handle, [](const HandleObject& object) { return object.endsByCloseHandle(); });
    return ended != nullptr ? TRUE : FALSE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    const ObjectPointer object = objectOf(handle);
    return object != nullptr ? guarded(WAIT_FAILED, [&] { return object->wait(milliseconds); })
                             : WAIT_FAILED;
}
