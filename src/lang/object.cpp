#include "lang/object.h"

#include "lang/address.h"
#include "lang/class.h"
#include "lang/exception.h"
#include "lang/interface_map.h"
#include "lang/string.h"

#include <cassert>
#include <limits>
#include <typeinfo>

namespace ZVCL {

namespace {

// An object that is being deleted carries this count, so that a reference taken and dropped by its
// own destructor cannot delete it again, and is noticed where assertions are on.
constexpr std::int32_t kDeleting = std::numeric_limits<std::int32_t>::min() / 2;

// dynamic_cast<const CZvObject*>(other), quickly where both are of one class, as what is compared
// mostly is: then both have their parts at the same places.
const CZvObject* objectBehind(IZvUnknown* other, const CZvObject& object) {
    if (other == nullptr || typeid(*other) != typeid(object))
        return dynamic_cast<const CZvObject*>(other);
    const auto offset = reinterpret_cast<const char*>(&object) -
                        static_cast<const char*>(dynamic_cast<const void*>(&object));
    return reinterpret_cast<const CZvObject*>(
        static_cast<const char*>(dynamic_cast<const void*>(other)) + offset);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// CZvComObject

ResultCode CZvComObject::QueryInterface(const ZvIid& iid, void** object) {
    static constexpr InterfaceMapEntry map[] = {kInterfaceEntry<CZvComObject, IZvUnknown>,
                                                kInterfaceMapEnd};
    return queryInterfaceMap(this, this, map, iid, object);
}

std::uint32_t CZvComObject::AddRef() {
    // Whoever passes an object to another thread orders that themselves; the count need not.
    const std::int32_t count = refCount.fetch_add(1, std::memory_order_relaxed) + 1;
    assert(count > 0 && "a reference taken while the object is being deleted");
    if (count == 1 && module != nullptr)
        module->liveObjects.fetch_add(1, std::memory_order_relaxed);
    return static_cast<std::uint32_t>(count);
}

std::uint32_t CZvComObject::Release() {
    // What every holder did to the object comes before its deletion by the last one.
    const std::int32_t count = refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (count == 0) {
        refCount.store(kDeleting, std::memory_order_relaxed);
        if (module != nullptr)
            module->liveObjects.fetch_sub(1, std::memory_order_release);
        delete this;
    }
    return static_cast<std::uint32_t>(count);
}

// ---------------------------------------------------------------------------------------------
// CZvObject

ResultCode CZvObject::QueryInterface(const ZvIid& iid, void** object) {
    static constexpr InterfaceMapEntry map[] = {kInterfaceEntry<CZvObject, IZvComparable>,
                                                kInterfaceMapEnd};
    return queryInterfaceMap(static_cast<CZvComObject*>(this), this, map, iid, object);
}

CZvObject* CZvObject::clone() const {
    if (typeid(*this) != typeid(CZvObject))
        throw EZvCloneNotSupported();
    return new CZvObject;
}

std::int32_t CZvObject::compareTo(const CZvObject& other) const {
    return addressOrder(this, &other, 4);
}

bool CZvObject::equals(const CZvObject& other) const {
    return this == &other;
}

CZvClass& CZvObject::getClass() const {
    return *CZvClass::forType(typeid(*this));
}

std::uint32_t CZvObject::hashCode() const {
    return addressHash(this);
}

CZvString CZvObject::toString() const {
    char16_t digits[8];
    std::int32_t first = 8;
    std::uint32_t rest = hashCode();
    do {
        digits[--first] = u"0123456789abcdef"[rest & 0xF];
        rest >>= 4;
    } while (rest != 0);

    CZvString text = CZvString::filled(u'@', 1, 1 + 8 - first + 1);
    text.replace(-1, 0, digits, 8, first);
    const char16_t* name = u"CZvObject";
    try {
        name = getClass().getName();
    } catch (...) {
        // An object without a record, or a library that is not started, still has a text.
    }
    text.replace(0, 0, name);
    return text;
}

ResultCode CZvObject::CompareTo(IZvUnknown* other, std::int32_t* order) {
    if (order == nullptr)
        return zv::core::kPointer;
    return resultFrame([&] {
        const CZvObject* object = objectBehind(other, *this);
        *order = object != nullptr ? compareTo(*object) : addressOrder(this, other, 2);
        return zv::core::kOk;
    });
}

ResultCode CZvObject::HashCode(std::uint32_t* hash) {
    if (hash == nullptr)
        return zv::core::kPointer;
    return resultFrame([&] {
        *hash = hashCode();
        return zv::core::kOk;
    });
}

} // namespace ZVCL
