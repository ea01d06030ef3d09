// The one table behind the handles of files, searches, processes and synchronisation objects.
//
// A handle is a small multiple of 4, never 0 or -1. It holds one reference on its object; a call
// under way holds another, so that an object outlives the CloseHandle of another thread until the
// last call that uses it returns. An object ends in its destructor.
//
// Any thread may call anything here at any time, except for releaseHandles().
#ifndef ZVSUPPORT_PLATFORM_POSIX_HANDLES_H
#define ZVSUPPORT_PLATFORM_POSIX_HANDLES_H

#include "platform/posix/last_error.h"
#include "platform/win32.h"

#include <memory>

namespace zv::platform::posix {

class HandleObject {
public:
    HandleObject() = default;
    HandleObject(const HandleObject&) = delete;
    HandleObject& operator=(const HandleObject&) = delete;
    virtual ~HandleObject() = default;

    // As WaitForSingleObject, last error included. Objects that cannot be waited for answer
    // WAIT_FAILED and 6.
    virtual DWORD wait(DWORD milliseconds);
    // Whether CloseHandle may end it; searches have a call of their own.
    virtual bool endsByCloseHandle() const { return true; }
};

using ObjectPointer = std::shared_ptr<HandleObject>;

// A new handle for the object. Throws std::bad_alloc.
HANDLE newHandle(ObjectPointer object);

// The object of a handle; null and last error 6 when there is none.
ObjectPointer objectOf(HANDLE handle) noexcept;

// The same, and only when the object is an Object.
template <typename Object>
std::shared_ptr<Object> objectOf(HANDLE handle) noexcept {
    auto object = std::dynamic_pointer_cast<Object>(objectOf(handle));
    if (object == nullptr)
        SetLastError(ERROR_INVALID_HANDLE);
    return object;
}

// Takes the handle out of the table if `fits` says yes to its object. The answer holds what may be
// the last reference; null and last error 6 when there is none. The object must not end under the
// table's lock, which is why it is handed out.
ObjectPointer takeHandle(HANDLE handle, bool (*fits)(const HandleObject&)) noexcept;

// Ends every handle that is left and gives the table's memory back. One thread, no call under way.
void releaseHandles() noexcept;

} // namespace zv::platform::posix

#endif
