#include "lang/interface_map.h"

namespace ZVCL {

ResultCode queryInterfaceMap(IZvUnknown* unknown, void* object, const InterfaceMapEntry* map,
                             const ZvIid& iid, void** result) {
    if (result == nullptr)
        return zv::core::kPointer;
    if (iid == IZvUnknown::kIid) {
        unknown->AddRef();
        *result = unknown;
        return zv::core::kOk;
    }
    for (const InterfaceMapEntry* entry = map; entry->query != nullptr; ++entry) {
        if (entry->iid != nullptr && *entry->iid != iid)
            continue;
        const ResultCode code = entry->query(object, iid, result);
        if (code == zv::core::kOk)
            return code;
        if (code < 0 && entry->iid != nullptr) {
            *result = nullptr;
            return code;
        }
    }
    *result = nullptr;
    return zv::core::kNoInterface;
}

} // namespace ZVCL
