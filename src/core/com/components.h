// In-process components by class identifier, without the system's own component run-time.
//
// Any thread may call these at any time. Both answer result codes and throw nothing; both store
// null in *object before any work and answer kPointer when `object` is null, kFail when the core
// layer is not started. Objects have to be released before the library shuts down, which unloads
// their servers.
#ifndef ZVSUPPORT_CORE_COM_COMPONENTS_H
#define ZVSUPPORT_CORE_COM_COMPONENTS_H

#include "core/guid.h"
#include "core/result.h"
#include "lang/unknown.h"

namespace zv::core {

// Stores the interface `iid` of the class object of `clsid`, with a reference for the caller.
// kClassNotRegistered when there is no server for the class, else the code of the load (kFail for a
// library that is missing or is no server), of the server or of the class object.
ResultCode GetClassObject(const Guid& clsid, const ZVCL::ZvIid& iid, void** object) noexcept;

// Stores the interface `iid` of a new object of that class, with a reference for the caller. outer
// is null, or the object that the new one becomes a part of. The code of GetClassObject, or of the
// class object.
ResultCode CreateInstance(const Guid& clsid, ZVCL::IZvUnknown* outer, const ZVCL::ZvIid& iid,
                          void** object) noexcept;

} // namespace zv::core

#endif
