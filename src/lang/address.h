// 32-bit orders and hashes made from addresses.
//
// Any thread may call these.
#ifndef ZVSUPPORT_LANG_ADDRESS_H
#define ZVSUPPORT_LANG_ADDRESS_H

#include <cstdint>

namespace ZVCL {

// left - right in units of 2^shift bytes, rounded down. A difference that is no multiple of the
// unit, or that 32 bits cannot hold, keeps its sign: the answer is 0 for equal addresses alone.
inline std::int32_t addressOrder(const void* left, const void* right, int shift) noexcept {
    const auto a = reinterpret_cast<std::uintptr_t>(left);
    const auto b = reinterpret_cast<std::uintptr_t>(right);
    if constexpr (sizeof(void*) == 4) {
        // The signed byte difference itself, as wide as it is.
        const std::int32_t order = static_cast<std::int32_t>(a - b) >> shift;
        return order == 0 && a != b ? 1 : order;
    } else {
        const std::int64_t order = static_cast<std::int64_t>(a - b) >> shift;
        if (order == 0)
            return a != b ? 1 : 0;
        if (order > INT32_MAX)
            return INT32_MAX;
        if (order < INT32_MIN)
            return INT32_MIN;
        return static_cast<std::int32_t>(order);
    }
}

// The address; where it has 64 bits, its halves folded into one. 0 for null alone.
inline std::uint32_t addressHash(const void* address) noexcept {
    const auto bits = reinterpret_cast<std::uintptr_t>(address);
    if constexpr (sizeof(void*) == 4) {
        return static_cast<std::uint32_t>(bits);
    } else {
        const auto wide = static_cast<std::uint64_t>(bits);
        // Whatever is multiplied is odd, so two addresses in one 4 GiB stretch never fold alike.
        const std::uint32_t hash = static_cast<std::uint32_t>(wide) ^
                                   (static_cast<std::uint32_t>(wide >> 32) * 0x9E3779B1u);
        return hash == 0 && address != nullptr ? 1 : hash;
    }
}

} // namespace ZVCL

#endif
