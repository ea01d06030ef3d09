#include "util/buffer.h"

#include "lang/exception.h"
#include "lang/interface_map.h"

namespace ZVCL {

namespace {

// Stores what operation() answers, null when it throws.
template <typename Pointer, typename Operation>
ResultCode answerPointer(Pointer* result, Operation operation) {
    if (result == nullptr)
        return zv::core::kPointer;
    *result = nullptr;
    return resultFrame([&] {
        *result = operation();
        return zv::core::kOk;
    });
}

template <typename Operation>
ResultCode answerCode(Operation operation) {
    return resultFrame([&] {
        operation();
        return zv::core::kOk;
    });
}

} // namespace

template <typename Interface>
ResultCode AbstractBuffer<Interface>::QueryInterface(const ZvIid& iid, void** object) {
    static constexpr InterfaceMapEntry map[] = {kInterfaceEntry<AbstractBuffer, Interface>,
                                                kBaseMapEntry<AbstractBuffer, CZvObject>,
                                                kInterfaceMapEnd};
    return queryInterfaceMap(static_cast<CZvComObject*>(this), this, map, iid, object);
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::LockRead(const Unit** data) const {
    return answerPointer(data, [this] { return lockRead(); });
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::UnlockRead() const {
    return answerCode([this] { unlockRead(); });
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::LockWrite(std::int32_t minLength, Unit** data) {
    return answerPointer(data, [&] { return lockWrite(minLength); });
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::Reserve(std::int32_t minCapacity, Unit** data) {
    return answerPointer(data, [&] { return reserve(minCapacity); });
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::UnlockWrite(std::int32_t newLength) {
    return answerCode([&] { unlockWrite(newLength); });
}

template <typename Interface>
ResultCode AbstractBuffer<Interface>::Compact() {
    return answerCode([this] { compact(); });
}

template class AbstractBuffer<IZvByteBuffer>;
template class AbstractBuffer<IZvCharBuffer>;

} // namespace ZVCL
