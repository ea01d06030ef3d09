#include "lang/interface_map.h"

#include <bit>

namespace ZVCL {

namespace {

ResultCode ask(const InterfaceMapEntry& entry, std::uintptr_t kind, void* object, const ZvIid& iid,
               void** result) {
    if (kind != kAtOffset.number)
        return entry.kind.query(object, iid, result, entry.offset);
    auto* found =
        reinterpret_cast<IZvUnknown*>(reinterpret_cast<std::uintptr_t>(object) + entry.offset);
    found->AddRef();
    *result = found;
    return zv::core::kOk;
}

} // namespace

ResultCode queryInterfaceMap(IZvUnknown* unknown, void* object, const InterfaceMapEntry* map,
                             const ZvIid& iid, void** result) {
    if (result == nullptr)
        return zv::core::kPointer;
    if (iid == IZvUnknown::kIid) {
        unknown->AddRef();
        *result = unknown;
        return zv::core::kOk;
    }
    for (const InterfaceMapEntry* entry = map;; ++entry) {
        const auto kind = std::bit_cast<std::uintptr_t>(entry->kind);
        if (kind == kMapEnd.number)
            break;
        if (entry->iid != nullptr && *entry->iid != iid)
            continue;
        const ResultCode code = ask(*entry, kind, object, iid, result);
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
