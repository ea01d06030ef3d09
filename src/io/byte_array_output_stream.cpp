#include "io/byte_array_output_stream.h"

#include "core/heap.h"
#include "lang/exception.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace ZVCL {

CZvByteArrayOutputStream::CZvByteArrayOutputStream(std::int32_t initialCapacity) {
    if (initialCapacity < 0)
        throw EZvRangeError();
    data =
        std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(initialCapacity));
    capacity = initialCapacity;
}

void CZvByteArrayOutputStream::Write(const std::uint8_t* buffer, std::int32_t length) {
    if (length <= 0)
        return;
    if (length > std::numeric_limits<std::int32_t>::max() - size)
        zv::core::throwBadAllocation();
    if (size + length > capacity)
        grow(size + length);
    std::copy_n(buffer, length, data.get() + size);
    size += length;
}

void CZvByteArrayOutputStream::grow(std::int32_t needed) {
    // Near the largest size the quarter no longer fits; what is needed does.
    constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max();
    const auto newCapacity =
        static_cast<std::int32_t>(std::min(std::int64_t{5} * needed / 4, most));
    auto grown =
        std::make_unique_for_overwrite<std::uint8_t[]>(static_cast<std::size_t>(newCapacity));
    std::copy_n(data.get(), size, grown.get());
    data = std::move(grown);
    capacity = newCapacity;
}

std::int32_t CZvByteArrayOutputStream::ToByteArray(std::uint8_t* destination,
                                                   std::int32_t maximum) const {
    const std::int32_t count = std::clamp(maximum, 0, size);
    std::copy_n(data.get(), count, destination);
    return count;
}

CZvString CZvByteArrayOutputStream::toString() const {
    return CZvString::fromNarrow(reinterpret_cast<const char*>(data.get()), size);
}

} // namespace ZVCL
