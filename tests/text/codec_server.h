// What the tests know of the component server whose codecs are wrong. The server itself is built
// with the public header alone.
#ifndef ZVSUPPORT_TESTS_TEXT_CODEC_SERVER_H
#define ZVSUPPORT_TESTS_TEXT_CODEC_SERVER_H

#include "zvsupport/char_codec.h"

#include <cstdint>

namespace zv::test {

// The classes, by the last byte of their identifiers. Each is wrong in one way; where nothing else
// is said a byte stands for the character of its own number.
enum class WrongCodec : std::uint8_t {
    Unserved,      // the server does not know the class
    NotCreated,    // CreateInstance fails
    NotACodec,     // its objects have no IZvCharCodec
    ThrowsAtBirth, // CreateInstance throws
    RefusesName,   // these three answer kRefusal
    RefusesBytesPerChar,
    RefusesCharsPerByte,
    ThrowsName,      // GetName throws
    NamesNothing,    // GetName answers success and writes nothing
    FactorsZero,     // the factors are 0,
    FactorsNegative, // -3,
    FactorsHuge,     // and 0x7FFFFFFF
    Misbehaves,      // see below
};
constexpr zvsupport::ZvGuid classId(WrongCodec which) {
    return {0x9D0C7B21, 0x3A5E, 0x4C18, {0xB2, 1, 2, 3, 4, 5, 6, static_cast<std::uint8_t>(which)}};
}

constexpr zvsupport::ResultCode kRefusal = -77;

// What the codec Misbehaves makes of these characters; others are as they should be.
//
//     EncodeChar                                         DecodeChar
// A   appends seven bytes                                takes one byte more than there are
// B   ends a write with a length beyond its room         takes -1 bytes
// C   begins a write, writes, and does not end it        answers success and does nothing else
// D   asks for room without end                          gives a surrogate half
// E   appends a byte and fails                           gives a number beyond Unicode
// F   appends, and keeps a reference on the buffer       does it all and then fails
// G   writes to the buffer that it kept, and appends     takes no byte of a whole character
// H   begins and ends a write of negative length         as it should be
// T   throws                                             throws

} // namespace zv::test

#endif
