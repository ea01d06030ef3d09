// Libraries that are loaded at run time, by handle.
//
// Any thread may call anything here at any time while the core layer is started; a library may also
// be given back afterwards.
#ifndef ZVSUPPORT_CORE_COM_SHARED_LIBRARY_SERVICE_H
#define ZVSUPPORT_CORE_COM_SHARED_LIBRARY_SERVICE_H

#include "core/handle.h"
#include "core/result.h"
#include "platform/win32.h"

namespace zv::core {

// Part of the client data. It has no state: what is loaded is known to the system alone. Every
// operation throws EZvCoreException with the code of the system's error.
class CZvSharedLibraryService {
public:
    // A new reference on the library, for the caller. A bare name is searched for by the system's
    // rules. kInvalidArgument for a null name.
    Handle load(const char16_t* name) const;
    // The entry point of that name, never null.
    FARPROC symbol(Handle library, const char16_t* name) const;
    void free(Handle library) const;
};

// The same, answering result codes and throwing nothing.

// Stores kNoHandle before any work. kFail when the core layer is not started.
ResultCode ZvSharedLibraryLoad(const char16_t* name, Handle& library) noexcept;
// Stores null before any work. The entry point is to be cast to its own type and not to be used
// once the library is given back.
ResultCode ZvSharedLibrarySymbol(Handle library, const char16_t* name, FARPROC& address) noexcept;
ResultCode ZvSharedLibraryFree(Handle library) noexcept;

struct SharedLibraryTraits {
    using Type = Handle;
    static constexpr Handle none() { return kNoHandle; }
    static void close(Handle library) { ZvSharedLibraryFree(library); }
};
using UniqueSharedLibrary = UniqueHandle<SharedLibraryTraits>;

} // namespace zv::core

#endif
