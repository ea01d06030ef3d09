#include "io/stdio_output_stream.h"

#include "lang/exception.h"

namespace ZVCL {

namespace {

[[noreturn]] void throwWriteError() {
    throw EZvIOError(CZvString::literal(u"stream write error"));
}

} // namespace

CZvStdioOutputStream::CZvStdioOutputStream(std::FILE* stream) : file(stream) {
    if (file == nullptr)
        throwResult(zv::core::kPointer);
}

void CZvStdioOutputStream::Write(const std::uint8_t* buffer, std::int32_t length) {
    if (length <= 0)
        return;
    const auto size = static_cast<std::size_t>(length);
    if (std::fwrite(buffer, 1, size, file) < size || std::ferror(file) != 0)
        throwWriteError();
}

void CZvStdioOutputStream::Write(std::int32_t byte) {
    if (std::fputc(byte, file) == EOF)
        throwWriteError();
}

void CZvStdioOutputStream::Flush() {
    if (std::fflush(file) == EOF)
        throw EZvIOError(CZvString::literal(u"stream flush error"));
}

} // namespace ZVCL
