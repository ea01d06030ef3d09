// A library that is loaded at run time, as an object of the class library.
//
// Any thread may ask for entry points, several at once.
#ifndef ZVSUPPORT_CORE_COM_SHARED_LIBRARY_H
#define ZVSUPPORT_CORE_COM_SHARED_LIBRARY_H

#include "core/com/shared_library_service.h"
#include "lang/object.h"

namespace ZVCL {

// Holds the library for its life: whatever came out of it has to be released before.
class CZvSharedLibrary : public CZvObject {
public:
    // Loads the library of that path, or of that bare name by the system's rules. Throws
    // EZvResultException "Failed to open shared library." with the core layer's code: kFail when
    // there is no such library.
    explicit CZvSharedLibrary(const char16_t* name);
    CZvSharedLibrary(const CZvSharedLibrary&) = delete;
    CZvSharedLibrary& operator=(const CZvSharedLibrary&) = delete;
    ~CZvSharedLibrary() override;

    // The entry point of exactly that name, never null, to be cast to its own type. Throws
    // EZvResultException "Failed to get symbol." with the core layer's code: kFail when there is no
    // such entry point.
    FARPROC GetSymbol(const char16_t* name) const;

private:
    zv::core::UniqueSharedLibrary handle;
};

} // namespace ZVCL

#endif
