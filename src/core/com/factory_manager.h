// The class objects of in-process component servers, each kept with the library that serves it.
#ifndef ZVSUPPORT_CORE_COM_FACTORY_MANAGER_H
#define ZVSUPPORT_CORE_COM_FACTORY_MANAGER_H

#include "core/com/shared_library_service.h"
#include "core/guid.h"
#include "core/mutex.h"
#include "core/ref_counted.h"
#include "core/result.h"
#include "lang/ref.h"
#include "lang/unknown.h"

#include <cstdint>
#include <cstring>
#include <map>

namespace zv::core {

// Characters of a server's path, terminator included.
inline constexpr std::uint32_t kServerPathCapacity = 260;

// The path of the server that is registered for a class, into a buffer of `capacity` characters.
// kClassNotRegistered when there is none, when it is no text or an empty one, or does not fit.
ResultCode GetInprocServerPath(const Guid& clsid, char16_t* buffer,
                               std::uint32_t capacity) noexcept;

// A class object and its server. It does not change; references may be held by any thread.
class CZvFactoryData final : public CZvCoreRefCounted {
public:
    CZvFactoryData(ZVCL::ZvRef<ZVCL::IZvUnknown> factory, UniqueSharedLibrary module);
    // The class object goes first, while its code is still there.
    ~CZvFactoryData() override;

    ZVCL::IZvUnknown& classObject() const { return *factory; }

private:
    ZVCL::ZvRef<ZVCL::IZvUnknown> factory; // never null
    UniqueSharedLibrary module;
};

// Any thread may call any operation. Servers are loaded, and their class objects asked, one after
// the other under the manager's mutex, so that each class is loaded once; a server may ask for
// other classes meanwhile.
//
// A server stays loaded until the manager goes. Objects that it made have to be gone by then.
class CZvFactoryManager {
public:
    // Throws EZvCoreException when the mutex cannot be made.
    CZvFactoryManager();
    ~CZvFactoryManager();
    CZvFactoryManager(const CZvFactoryManager&) = delete;
    CZvFactoryManager& operator=(const CZvFactoryManager&) = delete;

    // The entry of a class that was asked for before, or null. Throws EZvCoreException when the
    // mutex fails.
    CoreRef<CZvFactoryData> FindFactory(const Guid& clsid);

    // The interface `iid` of the class object of `clsid`, never null; the class object is the one
    // that the server gave for the first identifier it was asked for. Throws EZvCoreException:
    // kClassNotRegistered, or the code of the load or of the server; nothing is kept then and the
    // server is unloaded again.
    ZVCL::ZvRef<ZVCL::IZvUnknown> GetClassObject(const Guid& clsid, const ZVCL::ZvIid& iid);

private:
    // By the bytes in memory.
    struct ByteOrder {
        bool operator()(const Guid& left, const Guid& right) const {
            return std::memcmp(&left, &right, sizeof left) < 0;
        }
    };

    UniqueMutex m_mapMutex;
    std::map<Guid, CoreRef<CZvFactoryData>, ByteOrder> factories;
};

} // namespace zv::core

#endif
