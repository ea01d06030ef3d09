#include "netware/unicode_support_result.h"

#include "io/data_input_stream.h"
#include "io/serialized_header.h"

namespace zv::netware {

void CUnicodeSupportResult::Deserialize(const ZVCL::ZvRef<ZVCL::CZvInputStream>& stream) {
    ZVCL::CZvDataInputStream in(stream);
    ZVCL::readSerializedHeader(in, kVersion);
    result = in.ReadInt32();
}

} // namespace zv::netware
