#include "core/com/factory_manager.h"

#include "core/com/class_factory.h"
#include "core/registry/native_reg_key.h"
#include "platform/win32.h"

#include <string>
#include <utility>

namespace zv::core {

namespace {

using ZVCL::IZvUnknown;
using ZVCL::ZvIid;
using ZVCL::ZvRef;

// Runs a query of a component. A component that throws breaks its contract: that ends here, while
// the code that made the exception is still loaded. So does one that succeeds without a result.
template <typename Query>
ZvRef<IZvUnknown> resultOf(Query query) {
    void* object = nullptr;
    throwIfFailed(coreFrame([&] { return query(&object); }));
    if (object == nullptr)
        throw EZvCoreException(kFail);
    return ZvRef<IZvUnknown>::adopt(static_cast<IZvUnknown*>(object));
}

} // namespace

ResultCode GetInprocServerPath(const Guid& clsid, char16_t* buffer,
                               std::uint32_t capacity) noexcept {
    const ResultCode code = coreFrame([&] {
        char16_t guid[kGuidTextLength + 1];
        throwIfFailed(GuidToString(clsid, guid, kGuidTextLength + 1));
        const std::u16string path = u"CLSID\\" + std::u16string(guid) + u"\\InprocServer32";
        RegValueType type = kRegString;
        std::uint32_t size = capacity * static_cast<std::uint32_t>(sizeof(char16_t));
        throwIfFailed(NativeRegQueryValue(HKEY_CLASSES_ROOT_VALUE, path.c_str(), nullptr, type,
                                          buffer, size));
        // The registry keeps a text as it was written, with its terminator or without one.
        const std::uint32_t length = size / static_cast<std::uint32_t>(sizeof(char16_t));
        if (type != kRegString)
            return kFail;
        if (length < capacity)
            buffer[length] = 0;
        else if (length == 0 || buffer[length - 1] != 0)
            return kFail;
        return buffer[0] != 0 ? kOk : kFail;
    });
    return code == kOutOfMemory || code >= 0 ? code : kClassNotRegistered;
}

CZvFactoryData::CZvFactoryData(ZvRef<IZvUnknown> factory, UniqueSharedLibrary module)
    : factory(std::move(factory)), module(std::move(module)) {}

CZvFactoryData::~CZvFactoryData() {
    factory.reset();
    module.reset();
}

CZvFactoryManager::CZvFactoryManager()
    : m_mapMutex(makeMutex("CZvFactoryManager::m_mapMutex", 0)) {}

CZvFactoryManager::~CZvFactoryManager() = default;

CoreRef<CZvFactoryData> CZvFactoryManager::FindFactory(const Guid& clsid) {
    MutexHold hold(m_mapMutex.get());
    const auto found = factories.find(clsid);
    return found == factories.end() ? nullptr : found->second;
}

ZvRef<IZvUnknown> CZvFactoryManager::GetClassObject(const Guid& clsid, const ZvIid& iid) {
    MutexHold hold(m_mapMutex.get());
    if (const CoreRef<CZvFactoryData> known = FindFactory(clsid)) {
        return resultOf(
            [&](void** object) { return known->classObject().QueryInterface(iid, object); });
    }

    char16_t path[kServerPathCapacity];
    throwIfFailed(GetInprocServerPath(clsid, path, kServerPathCapacity));
    // On the way out of a failure the class object is released before what holds its library.
    CoreRef<CZvFactoryData> created;
    UniqueSharedLibrary library;
    throwIfFailed(ZvSharedLibraryLoad(path, library.receive()));
    FARPROC entry = nullptr;
    throwIfFailed(ZvSharedLibrarySymbol(library.get(), u"DllGetClassObject", entry));
    const auto getClassObject = reinterpret_cast<ZVCL::DllGetClassObjectFunction>(entry);
    ZvRef<IZvUnknown> result =
        resultOf([&](void** object) { return getClassObject(clsid, iid, object); });
    created = makeCoreRef<CZvFactoryData>(result, std::move(library));
    factories[clsid] = created;
    return result;
}

} // namespace zv::core
