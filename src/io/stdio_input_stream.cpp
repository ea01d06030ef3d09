#include "io/stdio_input_stream.h"

#include "lang/exception.h"

namespace ZVCL {

namespace {

template <std::size_t size>
void throwIfBroken(std::FILE* file, const char16_t (&message)[size]) {
    if (std::ferror(file) != 0)
        throw EZvIOError(CZvString::literal(message));
}

} // namespace

CZvStdioInputStream::CZvStdioInputStream(std::FILE* stream) : file(stream) {
    if (file == nullptr)
        throwResult(zv::core::kPointer);
}

std::int32_t CZvStdioInputStream::Read(std::uint8_t* buffer, std::int32_t length) {
    if (length <= 0)
        return 0;
    // What fgets does; but that does not tell how much it read of a line with zeros in it.
    std::int32_t count = 0;
    for (int byte = 0; byte != '\n' && count < length - 1;) {
        byte = std::fgetc(file);
        if (byte == EOF)
            break;
        buffer[count++] = static_cast<std::uint8_t>(byte);
    }
    throwIfBroken(file, u"stream read error");
    if (count == 0)
        return -1;
    buffer[count] = 0;
    return count;
}

std::int32_t CZvStdioInputStream::Read() {
    const int byte = std::fgetc(file);
    throwIfBroken(file, u"stream read error");
    return byte == EOF ? -1 : byte;
}

std::int32_t CZvStdioInputStream::Skip(std::int32_t count) {
    const long before = std::ftell(file);
    (void)std::fseek(file, count, SEEK_CUR);
    const long after = std::ftell(file);
    throwIfBroken(file, u"stream seek error");
    return before < 0 || after < 0 ? 0 : static_cast<std::int32_t>(after - before);
}

} // namespace ZVCL
