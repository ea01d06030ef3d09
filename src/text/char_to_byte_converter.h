// The abstract converter from wide characters (UTF-16) to the bytes of one charset.
//
// A converter is a streaming object with state: one call of convert() takes as much of the input as
// fits into the output and tells how far it got in both. It belongs to one thread at a time and is
// not shared; getConverter() may be called by any thread while the class library is started.
//
// Driving a stream to its end: call convert() with each run of input; where it leaves input behind,
// make room in the output and call it again from the new positions; after the last run call
// flush(), which reports a lead surrogate that never got its trail. reset() makes the object fit
// for the next text, also after an exception.
#ifndef ZVSUPPORT_TEXT_CHAR_TO_BYTE_CONVERTER_H
#define ZVSUPPORT_TEXT_CHAR_TO_BYTE_CONVERTER_H

#include "lang/object.h"
#include "lang/ref.h"

#include <cstdint>

namespace ZVCL {

class CZvCharToByteConverter : public CZvObject {
public:
    // The most bytes that setSubstitution takes: one UTF-32 unit.
    static constexpr std::int32_t kSubstitutionCapacity = 4;

    // A new converter for a charset name or alias (zero-terminated, letter case of ASCII letters
    // ignored). Throws EZvUnknownEncoding, with the name as its message, for a name that nobody
    // serves; null when what serves the name is not of this class.
    // A null name asks for the default converter, that of the ANSI code page where there is one and
    // ASCII otherwise; it is never null and no unknown code page makes it throw.
    static ZvRef<CZvCharToByteConverter> getConverter(const char16_t* name);

    // Converts input[inputPosition, inputEnd) into output[outputPosition, outputEnd). Positions and
    // ends are indexes, in characters into the input and in bytes into the output, none negative.
    // On return the positions name the first character not consumed and the first byte not written,
    // and the answer is the number of bytes written. Input is consumed only together with the bytes
    // that it yields, so the call stops in front of a character for which the output has no room. A
    // lead surrogate at the end of the input is consumed and held for the next call.
    // Throws EZvUnmappableCharacter (substitution mode off) and EZvInvalidCharacter; unless a
    // class says otherwise, positions and held state are then those of the call's start.
    virtual std::int32_t convert(const char16_t* input, std::int32_t& inputPosition,
                                 std::int32_t inputEnd, std::uint8_t* output,
                                 std::int32_t& outputPosition, std::int32_t outputEnd) = 0;
    // Ends the input. Writes nothing and answers 0; throws EZvInvalidCharacter when a lead
    // surrogate is held (it stays held until reset).
    virtual std::int32_t flush(std::uint8_t* output, std::int32_t& outputPosition,
                               std::int32_t outputEnd) = 0;
    // Forgets held state; the substitution settings stay.
    virtual void reset() = 0;
    // The canonical charset name, zero-terminated and owned by the converter.
    virtual const char16_t* getCharacterEncoding() = 0;
    // Sizing factors, generous and no tight bounds: n characters need at most n times the first in
    // bytes, n bytes at most n times the second in characters.
    virtual std::int32_t getMaxBytesPerChar() = 0;
    virtual std::int32_t getMaxCharsPerByte() = 0;

    // True (the initial state): what the charset lacks is replaced by the substitution. False: it
    // throws EZvUnmappableCharacter.
    virtual bool getSubstitutionMode();
    virtual bool setSubstitutionMode(bool flag); // answers the flag
    // Copies at most `capacity` bytes of the substitution and answers how many; with a null buffer
    // answers its length.
    virtual std::int32_t getSubstitution(std::uint8_t* buffer, std::int32_t capacity);
    // Copies `count` bytes. Throws EZvRangeError, and nothing changes, for a count below 0 or above
    // kSubstitutionCapacity and for null bytes with a count.
    virtual void setSubstitution(const std::uint8_t* bytes, std::int32_t count);

protected:
    CZvCharToByteConverter() = default;

    bool substitutionMode = true;
    std::uint8_t substitution[kSubstitutionCapacity] = {0x3F};
    std::int32_t substitutionLength = 1;
};

} // namespace ZVCL

#endif
