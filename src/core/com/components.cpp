#include "core/com/components.h"

#include "core/com/class_factory.h"
#include "core/com/client_data.h"
#include "core/global_data.h"
#include "lang/ref.h"

namespace zv::core {

using ZVCL::IClassFactory;
using ZVCL::IZvUnknown;
using ZVCL::ZvIid;
using ZVCL::ZvRef;

ResultCode GetClassObject(const Guid& clsid, const ZvIid& iid, void** object) noexcept {
    if (object == nullptr)
        return kPointer;
    *object = nullptr;
    return coreFrame([&] {
        if (g_globalData.clientData == nullptr)
            return kFail;
        *object = g_globalData.clientData->factories().GetClassObject(clsid, iid).detach();
        return kOk;
    });
}

ResultCode CreateInstance(const Guid& clsid, IZvUnknown* outer, const ZvIid& iid,
                          void** object) noexcept {
    if (object == nullptr)
        return kPointer;
    *object = nullptr;
    const ResultCode code = coreFrame([&] {
        void* found = nullptr;
        throwIfFailed(GetClassObject(clsid, IClassFactory::kIid, &found));
        const auto factory = ZvRef<IClassFactory>::adopt(static_cast<IClassFactory*>(found));
        return factory->CreateInstance(outer, iid, object);
    });
    // Whatever the component left there: a failure has no object, a success has one.
    if (code < 0)
        *object = nullptr;
    return code >= 0 && *object == nullptr ? kFail : code;
}

} // namespace zv::core
