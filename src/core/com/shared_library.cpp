#include "core/com/shared_library.h"

#include "lang/exception.h"

namespace ZVCL {

CZvSharedLibrary::CZvSharedLibrary(const char16_t* name) {
    if (const ResultCode code = zv::core::ZvSharedLibraryLoad(name, handle.receive()); code < 0)
        throw EZvResultException(code, CZvString::literal(u"Failed to open shared library."));
}

CZvSharedLibrary::~CZvSharedLibrary() = default;

FARPROC CZvSharedLibrary::GetSymbol(const char16_t* name) const {
    FARPROC address = nullptr;
    const ResultCode code = zv::core::ZvSharedLibrarySymbol(handle.get(), name, address);
    if (code < 0)
        throw EZvResultException(code, CZvString::literal(u"Failed to get symbol."));
    return address;
}

} // namespace ZVCL
