#include "util/rw_buffer.h"

#include "core/heap.h"
#include "lang/exception.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ZVCL {

template <typename Base>
RWBuffer<Base>::RWBuffer(std::int32_t capacity) {
    resize(capacity);
}

template <typename Base>
RWBuffer<Base>::~RWBuffer() {
    zv::core::heapFree(data);
}

template <typename Base>
void RWBuffer<Base>::resize(std::int32_t elements) {
    if (elements < 1) {
        zv::core::heapFree(data);
        data = nullptr;
        capacity = 0;
        length = 0;
        return;
    }
    constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max() / 16 * 16;
    if (elements > largest)
        zv::core::throwBadAllocation();
    const std::int32_t rounded = (elements + 15) / 16 * 16;
    if (rounded == capacity)
        return;
    void* block = zv::core::heapReallocate(data, static_cast<std::size_t>(rounded) * sizeof(Unit));
    if (block == nullptr)
        zv::core::throwBadAllocation();
    data = static_cast<Unit*>(block);
    capacity = rounded;
}

template <typename Base>
auto RWBuffer<Base>::reserve(std::int32_t minCapacity) -> Unit* {
    if (capacity < minCapacity)
        resize(minCapacity);
    return data;
}

template <typename Base>
std::int32_t RWBuffer<Base>::unlockWrite(std::int32_t newLength) {
    if (newLength > capacity)
        throw EZvRangeError();
    if (newLength >= 0)
        length = newLength;
    return newLength;
}

template class RWBuffer<CZvAbstractByteBuffer>;
template class RWBuffer<CZvAbstractCharBuffer>;

CZvRWCharBuffer::CZvRWCharBuffer(const char16_t* text, std::int32_t count, std::int32_t capacity)
    : RWBuffer(std::max(capacity, count)) {
    if (count < 1)
        return;
    std::memcpy(data, text, static_cast<std::size_t>(count) * sizeof(Unit));
    length = count;
}

} // namespace ZVCL
