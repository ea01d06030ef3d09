#include "io/data_input_stream.h"

#include "lang/exception.h"

#include <bit>
#include <limits>

namespace ZVCL {

namespace {

static_assert(sizeof(float) == 4 && std::numeric_limits<float>::is_iec559);
static_assert(sizeof(double) == 8 && std::numeric_limits<double>::is_iec559);

// A big-endian number of `count` bytes. All are asked for, the end of the stream or not.
std::uint32_t readBytes(CZvInputStream& in, int count) {
    std::uint32_t value = 0;
    bool ended = false;
    for (int i = 0; i < count; ++i) {
        const std::int32_t byte = in.Read();
        ended = ended || byte < 0;
        value = value << 8 | (static_cast<std::uint32_t>(byte) & 0xFF);
    }
    if (ended)
        throw EZvUnexpectedEOF();
    return value;
}

} // namespace

void CZvDataInputStream::ReadFully(std::uint8_t* buffer, std::int32_t length) {
    while (length > 0) {
        const std::int32_t read = in->Read(buffer, length);
        if (read < 0)
            throw EZvUnexpectedEOF();
        buffer += read;
        length -= read;
    }
}

bool CZvDataInputStream::ReadBoolean() {
    return readBytes(*in, 1) != 0;
}

std::int8_t CZvDataInputStream::ReadInt8() {
    return static_cast<std::int8_t>(readBytes(*in, 1));
}

char16_t CZvDataInputStream::ReadChar() {
    return static_cast<char16_t>(ReadInt16());
}

std::int32_t CZvDataInputStream::ReadInt() {
    return ReadInt32();
}

std::int16_t CZvDataInputStream::ReadInt16() {
    return static_cast<std::int16_t>(readBytes(*in, 2));
}

std::int32_t CZvDataInputStream::ReadInt32() {
    return static_cast<std::int32_t>(readBytes(*in, 4));
}

std::int64_t CZvDataInputStream::ReadInt64() {
    const auto high = static_cast<std::uint32_t>(ReadInt32());
    const auto low = static_cast<std::uint32_t>(ReadInt32());
    return static_cast<std::int64_t>(std::uint64_t{high} << 32 | low);
}

float CZvDataInputStream::ReadFloat() {
    return std::bit_cast<float>(ReadInt32());
}

double CZvDataInputStream::ReadDouble() {
    return std::bit_cast<double>(ReadInt64());
}

CZvString CZvDataInputStream::ReadString() {
    return CZvString();
}

} // namespace ZVCL
