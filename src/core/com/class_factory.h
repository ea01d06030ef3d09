// What an in-process component server shows to its loader: class objects, and the two functions
// that it exports.
//
// A server is called by several threads at once.
#ifndef ZVSUPPORT_CORE_COM_CLASS_FACTORY_H
#define ZVSUPPORT_CORE_COM_CLASS_FACTORY_H

#include "core/guid.h"
#include "lang/unknown.h"
#include "platform/calling_convention.h"
#include "platform/win32.h"

namespace ZVCL {

// A class object: makes the objects of one class.
class IClassFactory : public IZvUnknown {
public:
    static constexpr ZvIid kIid = {
        0x00000001, 0x0000, 0x0000, {0xC0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x46}};

    // Stores the interface `iid` of a new object in *object, with a reference for the caller. outer
    // is null, or the object that the new one becomes a part of, which a class may refuse.
    virtual ResultCode ZV_INTERFACE_CALL CreateInstance(IZvUnknown* outer, const ZvIid& iid,
                                                        void** object) = 0;
    // Keeps the server loaded, or no longer. Nothing in this system calls it.
    virtual ResultCode ZV_INTERFACE_CALL LockServer(BOOL lock) = 0;

protected:
    ~IClassFactory() = default;
};

// "DllGetClassObject": stores the interface `iid` of the class object of `clsid` in *object, with a
// reference for the caller.
using DllGetClassObjectFunction = ResultCode(ZV_STDAPI_CALL*)(const zv::core::Guid& clsid,
                                                              const ZvIid& iid, void** object);
// "DllCanUnloadNow": 0 when nothing of the server is in use, 1 otherwise. Nothing in this system
// calls it: a server stays loaded until the library shuts down.
using DllCanUnloadNowFunction = ResultCode(ZV_STDAPI_CALL*)();

} // namespace ZVCL

#endif
