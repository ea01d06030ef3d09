#include "io/input_stream.h"

#include "lang/exception.h"

#include <algorithm>

namespace ZVCL {

std::int32_t CZvInputStream::Read() {
    std::uint8_t byte = 0;
    return Read(&byte, 1) > 0 ? byte : -1;
}

std::int32_t CZvInputStream::Skip(std::int32_t count) {
    constexpr std::int32_t room = 256;
    std::uint8_t scratch[room];
    std::int32_t remaining = std::max(count, 0);
    const std::int32_t wanted = remaining;
    while (remaining > 0) {
        const std::int32_t read = Read(scratch, std::min(remaining, room));
        if (read < 0)
            break;
        remaining -= read;
    }
    return wanted - remaining;
}

std::int32_t CZvInputStream::Available() {
    return 0;
}

void CZvInputStream::Close() {}

bool CZvInputStream::MarkSupported() {
    return false;
}

void CZvInputStream::Mark(std::int32_t) {}

void CZvInputStream::Reset() {
    throw EZvIOError(CZvString::literal(u"mark/reset not supported"));
}

} // namespace ZVCL
