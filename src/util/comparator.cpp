#include "util/comparator.h"

#include "lang/address.h"
#include "lang/interface_map.h"

#include <atomic>
#include <typeinfo>

namespace ZVCL {

namespace {

// The default comparator with one reference, or null.
constinit std::atomic<CZvComparator*> theDefault{nullptr};

// The object's own order, or null when it has none.
ZvRef<IZvComparable> comparableOf(IZvUnknown* object) {
    void* found = nullptr;
    if (object == nullptr || object->QueryInterface(IZvComparable::kIid, &found) < 0)
        return nullptr;
    return ZvRef<IZvComparable>::adopt(static_cast<IZvComparable*>(found));
}

} // namespace

ZvRef<CZvComparator> CZvComparator::defaultComparator() {
    CZvComparator* comparator = theDefault.load(std::memory_order_acquire);
    if (comparator == nullptr) {
        ZvRef<CZvComparator> made = makeRef<CZvComparator>();
        // Of several threads that make one, the first one's stays; the others drop theirs.
        if (theDefault.compare_exchange_strong(comparator, made.get(), std::memory_order_acq_rel,
                                               std::memory_order_acquire))
            comparator = made.detach();
    }
    return ZvRef<CZvComparator>::share(comparator);
}

void CZvComparator::releaseDefault() noexcept {
    ZvRef<CZvComparator>::adopt(theDefault.exchange(nullptr, std::memory_order_acq_rel)).reset();
}

ResultCode CZvComparator::QueryInterface(const ZvIid& iid, void** object) {
    static constexpr InterfaceMapEntry map[] = {kInterfaceEntry<CZvComparator, IZvComparator>,
                                                kBaseMapEntry<CZvComparator, CZvObject>,
                                                kInterfaceMapEnd};
    return queryInterfaceMap(static_cast<CZvComObject*>(this), this, map, iid, object);
}

CZvObject* CZvComparator::clone() const {
    if (typeid(*this) != typeid(CZvComparator))
        throw EZvCloneNotSupported();
    return new CZvComparator;
}

std::int32_t CZvComparator::compareTo(const CZvObject& other) const {
    if (!equals(other))
        throw EZvCastFailed();
    return 0;
}

bool CZvComparator::equals(const CZvObject& other) const {
    return typeid(*this) == typeid(other);
}

ResultCode CZvComparator::Compare(IZvUnknown* left, IZvUnknown* right, std::int32_t* order) {
    if (order == nullptr)
        return zv::core::kPointer;
    if (const ZvRef<IZvComparable> comparable = comparableOf(left))
        return comparable->CompareTo(right, order);
    *order = addressOrder(left, right, 2);
    return zv::core::kOk;
}

ResultCode CZvComparator::HashCode(IZvUnknown* object, std::uint32_t* hash) {
    if (hash == nullptr)
        return zv::core::kPointer;
    if (const ZvRef<IZvComparable> comparable = comparableOf(object))
        return comparable->HashCode(hash);
    *hash = addressHash(object);
    return zv::core::kOk;
}

ZvRef<IZvComparator> comparatorOrDefault(IZvComparator* comparator) {
    if (comparator == nullptr)
        return CZvComparator::defaultComparator();
    return ZvRef<IZvComparator>::share(comparator);
}

} // namespace ZVCL
