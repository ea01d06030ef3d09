// Brings the part of a path behind its drive or share into canonical form: one kind of separator,
// no empty and no "." components, ".." taken back where there is something to take back.
//
// A normaliser is used by one thread at a time.
#ifndef ZVSUPPORT_CORE_COM_PATH_NORMALIZER_H
#define ZVSUPPORT_CORE_COM_PATH_NORMALIZER_H

#include "lang/object.h"
#include "lang/string.h"

#include <cstdint>

namespace ZVCL {

class CZvPathNormalizer : public CZvObject {
public:
    enum SlashType : std::int32_t { kPlatformSlash = 0, kSlash = 1, kBackslash = 2 };

    // The separator to write. Throws EZvException "Invalid slash type specified." for any other
    // number.
    explicit CZvPathNormalizer(std::int32_t slashType = kPlatformSlash);
    ~CZvPathNormalizer() override;

    // The canonical form of a text (up to its first zero, if it has one); either slash separates.
    //   - What begins with a separator is absolute and stays so: ".." at its top leads nowhere.
    //   - What does not begin with one is relative and stays so: ".." that has nothing to take back
    //     is kept, and "a/.." is empty.
    //   - A separator at the end is kept; a "." or a ".." that was taken back leaves one there.
    // The result is never longer than the text.
    CZvString Normalize(const CZvString& text);

private:
    enum State : std::int32_t {
        kStart,
        kName,
        kSeparator, // read; it is written when it is known what follows, and so are the dots
        kSeparatorDot,
        kSeparatorDotDot,
        // Of a relative path from here on: at its beginning, or behind ".." that was kept.
        kLeadingDot,
        kLeadingDotSeparator,
        kLeadingDotDot,
        kLeadingDotDotSeparator,
        kEnd,
    };

    void step(char16_t unit);
    void writePending();
    void goUp();
    void finish();
    void write(char16_t unit) { output[outputPosition++] = unit; }
    void writeDots(std::int32_t count);
    bool isAbsolute() const { return input[0] == separator; }
    bool endsWithParent() const;

    char16_t separator;
    // What follows is of use during one call of Normalize.
    State state = kStart;
    const char16_t* input = nullptr;
    char16_t* output = nullptr;
    std::int32_t outputPosition = 0;
    std::int32_t inputPosition = 0;
};

} // namespace ZVCL

#endif
