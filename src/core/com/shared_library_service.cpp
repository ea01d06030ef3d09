#include "core/com/shared_library_service.h"

#include "core/com/client_data.h"
#include "core/global_data.h"
#include "core/wide_calls.h"
#include "core/wide_text.h"

#include <string>

namespace zv::core {

namespace {

// To the system null and -1 are no invalid modules but the program itself, or all of them.
HMODULE moduleOf(Handle library) {
    if (library == kNoHandle || library == 0)
        throw EZvCoreException(kInvalidHandle);
    return reinterpret_cast<HMODULE>(library);
}

} // namespace

Handle CZvSharedLibraryService::load(const char16_t* name) const {
    if (name == nullptr)
        throw EZvCoreException(kInvalidArgument);
    const HMODULE module = g_wideCalls.LoadLibraryW(name);
    if (module == nullptr)
        throwLastError();
    return reinterpret_cast<Handle>(module);
}

FARPROC CZvSharedLibraryService::symbol(Handle library, const char16_t* name) const {
    if (name == nullptr)
        throw EZvCoreException(kInvalidArgument);
    const HMODULE module = moduleOf(library);
    const std::string narrowName = narrow(name);
    const FARPROC address = GetProcAddress(module, narrowName.c_str());
    if (address == nullptr)
        throwLastError();
    return address;
}

void CZvSharedLibraryService::free(Handle library) const {
    if (FreeLibrary(moduleOf(library)) == 0)
        throwLastError();
}

ResultCode ZvSharedLibraryLoad(const char16_t* name, Handle& library) noexcept {
    library = kNoHandle;
    return coreFrame([&] {
        if (g_globalData.clientData == nullptr)
            return kFail; // no wide calls yet
        library = g_globalData.clientData->sharedLibraries().load(name);
        return kOk;
    });
}

// These two ask no client data: the servers of components are given back while those go down.

ResultCode ZvSharedLibrarySymbol(Handle library, const char16_t* name, FARPROC& address) noexcept {
    address = nullptr;
    return coreFrame([&] {
        address = CZvSharedLibraryService().symbol(library, name);
        return kOk;
    });
}

ResultCode ZvSharedLibraryFree(Handle library) noexcept {
    return coreFrame([&] {
        CZvSharedLibraryService().free(library);
        return kOk;
    });
}

} // namespace zv::core
