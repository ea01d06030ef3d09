#include "io/serialized_header.h"

#include "lang/exception.h"

#include <algorithm>

namespace ZVCL {

void readSerializedHeader(CZvDataInputStream& in, const CZvGuid& version) {
    zv::core::Guid found;
    found.Data1 = static_cast<std::uint32_t>(in.ReadInt32());
    found.Data2 = static_cast<std::uint16_t>(in.ReadInt16());
    found.Data3 = static_cast<std::uint16_t>(in.ReadInt16());
    in.ReadFully(found.Data4, sizeof found.Data4);
    if (found != version.value())
        throw EZvException(CZvString::literal(u"Serialized Object versions do not match."));
}

void writeSerializedHeader(CZvOutputStream& out, const CZvGuid& version) {
    const zv::core::Guid& guid = version.value();
    std::uint8_t header[sizeof guid] = {
        static_cast<std::uint8_t>(guid.Data1 >> 24), static_cast<std::uint8_t>(guid.Data1 >> 16),
        static_cast<std::uint8_t>(guid.Data1 >> 8),  static_cast<std::uint8_t>(guid.Data1),
        static_cast<std::uint8_t>(guid.Data2 >> 8),  static_cast<std::uint8_t>(guid.Data2),
        static_cast<std::uint8_t>(guid.Data3 >> 8),  static_cast<std::uint8_t>(guid.Data3)};
    std::copy_n(guid.Data4, sizeof guid.Data4, header + 8);
    out.Write(header, sizeof header);
}

} // namespace ZVCL
