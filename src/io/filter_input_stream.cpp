#include "io/filter_input_stream.h"

#include "lang/exception.h"

#include <utility>

namespace ZVCL {

CZvFilterInputStream::CZvFilterInputStream(ZvRef<CZvInputStream> wrapped) : in(std::move(wrapped)) {
    if (!in)
        throwResult(zv::core::kPointer);
}

std::int32_t CZvFilterInputStream::Read(std::uint8_t* buffer, std::int32_t length) {
    return in->Read(buffer, length);
}

std::int32_t CZvFilterInputStream::Read() {
    return in->Read();
}

std::int32_t CZvFilterInputStream::Skip(std::int32_t count) {
    return in->Skip(count);
}

std::int32_t CZvFilterInputStream::Available() {
    return in->Available();
}

void CZvFilterInputStream::Close() {
    in->Close();
}

bool CZvFilterInputStream::MarkSupported() {
    return in->MarkSupported();
}

void CZvFilterInputStream::Mark(std::int32_t readLimit) {
    in->Mark(readLimit);
}

void CZvFilterInputStream::Reset() {
    in->Reset();
}

} // namespace ZVCL
