#include "io/filter_output_stream.h"

#include "lang/exception.h"

#include <utility>

namespace ZVCL {

CZvFilterOutputStream::CZvFilterOutputStream(ZvRef<CZvOutputStream> wrapped)
    : out(std::move(wrapped)) {
    if (!out)
        throwResult(zv::core::kPointer);
}

void CZvFilterOutputStream::Write(const std::uint8_t* buffer, std::int32_t length) {
    out->Write(buffer, length);
}

void CZvFilterOutputStream::Write(std::int32_t byte) {
    out->Write(byte);
}

void CZvFilterOutputStream::Flush() {
    out->Flush();
}

void CZvFilterOutputStream::Close() {
    out->Close();
}

} // namespace ZVCL
