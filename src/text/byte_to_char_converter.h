// The abstract converter from the bytes of one charset to wide characters (UTF-16).
//
// A streaming object: one call of convert() takes as much of the input as fits into the output and
// tells how far it got in both. It belongs to one thread at a time and is not shared;
// getConverter() may be called by any thread while the class library is started.
//
// Driving a stream to its end: call convert() with each run of input; bytes that it leaves behind
// although the output has room are the beginning of a sequence: present them again in front of the
// bytes that follow. Then flush(). Bytes still left at the end of everything are a torn sequence.
#ifndef ZVSUPPORT_TEXT_BYTE_TO_CHAR_CONVERTER_H
#define ZVSUPPORT_TEXT_BYTE_TO_CHAR_CONVERTER_H

#include "lang/object.h"
#include "lang/ref.h"

#include <cstdint>

namespace ZVCL {

class CZvByteToCharConverter : public CZvObject {
public:
    // The most characters that setSubstitution takes: one surrogate pair.
    static constexpr std::int32_t kSubstitutionCapacity = 2;

    // A new converter for a charset name or alias (zero-terminated, letter case of ASCII letters
    // ignored). Throws EZvUnknownEncoding, with the name as its message, for a name that nobody
    // serves; null when what serves the name is not of this class.
    // A null name asks for the default converter, that of the ANSI code page where there is one and
    // ASCII otherwise; it is never null and no unknown code page makes it throw.
    static ZvRef<CZvByteToCharConverter> getConverter(const char16_t* name);

    // Converts input[inputPosition, inputEnd) into output[outputPosition, outputEnd). Positions and
    // ends are indexes, in bytes into the input and in characters into the output, none negative.
    // On return the positions name the first byte not consumed and the first character not written,
    // and the answer is the number of characters written. The call stops in front of a sequence for
    // which the output has no room or which the input does not complete.
    // Throws EZvUnmappableCharacter (substitution mode off) and EZvInvalidCharacter; unless a
    // class says otherwise, the positions are then those of the call's start.
    virtual std::int32_t convert(const std::uint8_t* input, std::int32_t& inputPosition,
                                 std::int32_t inputEnd, char16_t* output,
                                 std::int32_t& outputPosition, std::int32_t outputEnd) = 0;
    // Ends the input. Writes nothing and answers 0.
    virtual std::int32_t flush(char16_t* output, std::int32_t& outputPosition,
                               std::int32_t outputEnd) = 0;
    // Forgets held state; the substitution settings stay.
    virtual void reset() = 0;
    // The canonical charset name, zero-terminated and owned by the converter.
    virtual const char16_t* getCharacterEncoding() = 0;
    // Sizing factors, generous and no tight bounds: n characters need at most n times the first in
    // bytes, n bytes at most n times the second in characters.
    virtual std::int32_t getMaxBytesPerChar() = 0;
    virtual std::int32_t getMaxCharsPerByte() = 0;

    // True (the initial state): bytes without a character are replaced by the substitution. False:
    // they throw EZvUnmappableCharacter.
    virtual bool getSubstitutionMode();
    virtual bool setSubstitutionMode(bool flag); // answers the flag
    // Copies at most `capacity` characters of the substitution and answers how many; with a null
    // buffer answers its length.
    virtual std::int32_t getSubstitution(char16_t* buffer, std::int32_t capacity);
    // Copies `count` characters. Throws EZvRangeError, and nothing changes, for a count below 0 or
    // above kSubstitutionCapacity and for null characters with a count.
    virtual void setSubstitution(const char16_t* characters, std::int32_t count);

protected:
    CZvByteToCharConverter() = default;

    bool substitutionMode = true;
    char16_t substitution[kSubstitutionCapacity] = {0xFFFD};
    std::int32_t substitutionLength = 1;
};

} // namespace ZVCL

#endif
