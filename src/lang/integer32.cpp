#include "lang/integer32.h"

namespace ZVCL {

std::int32_t CZvInteger32::compareTo(const CZvObject& other) const {
    if (this == &other)
        return 0;
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(value) -
                                     static_cast<std::uint32_t>(numberFrom(other).signed32()));
}

CZvString CZvInteger32::toString() const {
    return CZvString::valueOf(value);
}

} // namespace ZVCL
