#include "util/ro_buffer.h"

#include "lang/exception.h"

namespace ZVCL {

namespace {

template <typename Unit>
ResultCode refuse(Unit** pointer) {
    if (pointer == nullptr)
        return zv::core::kPointer;
    *pointer = nullptr;
    return zv::core::kNotImplemented;
}

} // namespace

template <typename Base>
auto ROBuffer<Base>::lockWrite(std::int32_t) -> Unit* {
    throw EZvReadOnly();
}

template <typename Base>
auto ROBuffer<Base>::reserve(std::int32_t) -> Unit* {
    throw EZvReadOnly();
}

template <typename Base>
std::int32_t ROBuffer<Base>::unlockWrite(std::int32_t) {
    throw EZvReadOnly();
}

template <typename Base>
ResultCode ROBuffer<Base>::LockWrite(std::int32_t, Unit** pointer) {
    return refuse(pointer);
}

template <typename Base>
ResultCode ROBuffer<Base>::Reserve(std::int32_t, Unit** pointer) {
    return refuse(pointer);
}

template <typename Base>
ResultCode ROBuffer<Base>::UnlockWrite(std::int32_t) {
    return zv::core::kNotImplemented;
}

template class ROBuffer<CZvAbstractByteBuffer>;
template class ROBuffer<CZvAbstractCharBuffer>;

} // namespace ZVCL
