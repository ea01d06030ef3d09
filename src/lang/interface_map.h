// Interface maps: how a class tells QueryInterface which interfaces its objects have.
//
// Maps are constant; queries take no lock and may come from any thread.
#ifndef ZVSUPPORT_LANG_INTERFACE_MAP_H
#define ZVSUPPORT_LANG_INTERFACE_MAP_H

#include "lang/unknown.h"

#include <cstdint>

namespace ZVCL {

// Looks for one interface in `object`, the address of the class that owns the map; `offset` is the
// entry's own. 0: found, *result holds the pointer with a reference for the caller. Anything else:
// not found here.
using InterfaceQuery = ResultCode (*)(void* object, const ZvIid& iid, void** result,
                                      std::uintptr_t offset);

// How an entry finds its interface: a function that is asked, or one of the numbers below.
union InterfaceKind {
    std::uintptr_t number;
    InterfaceQuery query;
};
inline constexpr InterfaceKind kMapEnd{.number = 0};
inline constexpr InterfaceKind kAtOffset{.number = 1}; // it lies at the offset inside the object

// An entry is asked when its identifier is the one sought, or is null: then it continues the query
// elsewhere (a base class's map).
struct InterfaceMapEntry {
    const ZvIid* iid;
    InterfaceKind kind;
    std::uintptr_t offset;
};
static_assert(sizeof(InterfaceMapEntry) == 3 * sizeof(void*));

// Walks the map. A failure of an entry that has an identifier ends the query with its code; that of
// an entry without one, and any positive answer, lets the walk go on. kNoInterface and a null
// *result at the end; kPointer when `result` is null. The identifier of IZvUnknown always finds
// `unknown`, the object's primary address.
ResultCode queryInterfaceMap(IZvUnknown* unknown, void* object, const InterfaceMapEntry* map,
                             const ZvIid& iid, void** result);

// The query of an interface that Object derives from: the language knows no constant for the place
// of a base, so the entry asks instead of giving an offset.
template <typename Object, typename Interface>
ResultCode queryBase(void* object, const ZvIid&, void** result, std::uintptr_t) {
    Interface* found = static_cast<Object*>(object);
    found->AddRef();
    *result = found;
    return zv::core::kOk;
}

template <typename Object, typename Interface>
inline constexpr InterfaceMapEntry kInterfaceEntry{
    &Interface::kIid, {.query = &queryBase<Object, Interface>}, 0};

// The query that continues in the map of Object's base class Base.
template <typename Object, typename Base>
ResultCode queryBaseMap(void* object, const ZvIid& iid, void** result, std::uintptr_t) {
    return static_cast<Object*>(object)->Base::QueryInterface(iid, result);
}

template <typename Object, typename Base>
inline constexpr InterfaceMapEntry kBaseMapEntry{
    nullptr, {.query = &queryBaseMap<Object, Base>}, 0};

inline constexpr InterfaceMapEntry kInterfaceMapEnd{nullptr, kMapEnd, 0};

} // namespace ZVCL

#endif
