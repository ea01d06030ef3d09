// Comparators: what collections ask about the order, the equality and the hash of their elements.
//
// CZvComparator has no state: one instance serves any number of threads at once.
#ifndef ZVSUPPORT_UTIL_COMPARATOR_H
#define ZVSUPPORT_UTIL_COMPARATOR_H

#include "lang/exception.h"
#include "lang/object.h"
#include "lang/ref.h"

#include <cstdint>

namespace ZVCL {

class IZvComparator : public IZvUnknown {
public:
    static constexpr ZvIid kIid = {
        0x176573E2, 0xC217, 0x4F04, {0xAD, 0x8E, 0xE6, 0x77, 0xCA, 0x68, 0x32, 0x45}};

    // Stores 0 for equal objects, a negative number when `left` orders first and a positive one
    // when `right` does. Both may be null. Takes no reference that outlives the call; kPointer when
    // `order` is null; any other negative code is the comparator's own.
    virtual ResultCode ZV_INTERFACE_CALL Compare(IZvUnknown* left, IZvUnknown* right,
                                                 std::int32_t* order) = 0;
    // The same for the hash: objects that compare equal must have equal hashes.
    virtual ResultCode ZV_INTERFACE_CALL HashCode(IZvUnknown* object, std::uint32_t* hash) = 0;

protected:
    ~IZvComparator() = default;
};

// Leaves the answer to `left` (or `object`) where it is IZvComparable, as every CZvObject is, and
// passes its result code on; any other object, and null, goes by its address.
class CZvComparator : public CZvObject, public IZvComparator {
public:
    constexpr CZvComparator() noexcept = default;
    constexpr CZvComparator(const CZvComparator&) noexcept = default;
    CZvComparator& operator=(const CZvComparator&) noexcept = default;

    // The one comparator of all collections that are made without one. Any thread may be the first
    // to ask, which makes it. The class library drops its reference when it stops.
    [[nodiscard]] static ZvRef<CZvComparator> defaultComparator();
    static void releaseDefault() noexcept; // for shut-down alone

    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid& iid, void** object) override;
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return CZvObject::AddRef(); }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return CZvObject::Release(); }

    // Comparators of one class are equal: they have no state to differ in.
    CZvObject* clone() const override;
    std::int32_t compareTo(const CZvObject& other) const override; // EZvCastFailed unless equal
    bool equals(const CZvObject& other) const override;

    // The comparator's own order and hash, as compareTo and hashCode give them.
    virtual std::int32_t compareSelf(const CZvObject& other) const { return compareTo(other); }
    virtual std::uint32_t hashSelf() const { return hashCode(); }

    ResultCode ZV_INTERFACE_CALL Compare(IZvUnknown* left, IZvUnknown* right,
                                         std::int32_t* order) override;
    ResultCode ZV_INTERFACE_CALL HashCode(IZvUnknown* object, std::uint32_t* hash) override;
    using CZvObject::HashCode;
};

// What a collection keeps: the comparator given, the default one in place of null.
[[nodiscard]] ZvRef<IZvComparator> comparatorOrDefault(IZvComparator* comparator);

// What collections call. Throw EZvResultException with the comparator's code when it fails.
inline std::int32_t compareBy(IZvComparator& comparator, IZvUnknown* left, IZvUnknown* right) {
    std::int32_t order = 0;
    throwIfFailed(comparator.Compare(left, right, &order));
    return order;
}
inline std::uint32_t hashBy(IZvComparator& comparator, IZvUnknown* object) {
    std::uint32_t hash = 0;
    throwIfFailed(comparator.HashCode(object, &hash));
    return hash;
}

} // namespace ZVCL

#endif
