#include "core/com/path_normalizer.h"

#include "lang/exception.h"
#include "util/buffer_hold.h"

namespace ZVCL {

namespace {

char16_t separatorOf(std::int32_t slashType) {
    switch (slashType) {
    case CZvPathNormalizer::kPlatformSlash:
    case CZvPathNormalizer::kBackslash:
        return u'\\';
    case CZvPathNormalizer::kSlash:
        return u'/';
    default:
        throw EZvException(CZvString::literal(u"Invalid slash type specified."));
    }
}

enum CharClass : std::int32_t { kDotChar, kSeparatorChar, kNameChar, kEndChar };

CharClass classOf(char16_t unit) {
    switch (unit) {
    case u'.':
        return kDotChar;
    case u'/':
    case u'\\':
        return kSeparatorChar;
    case 0:
        return kEndChar;
    default:
        return kNameChar;
    }
}

} // namespace

CZvPathNormalizer::CZvPathNormalizer(std::int32_t slashType) : separator(separatorOf(slashType)) {}

CZvPathNormalizer::~CZvPathNormalizer() = default;

CZvString CZvPathNormalizer::Normalize(const CZvString& text) {
    CZvString source(text);
    source.replaceChar(separator == u'\\' ? u'/' : u'\\', separator);
    CZvString result;
    const BufferReadHold<char16_t> from(source);
    BufferWriteHold<char16_t> to(result, from.length());

    state = kStart;
    input = from.data();
    output = to.data();
    outputPosition = 0;
    for (inputPosition = 0; state != kEnd; ++inputPosition)
        step(input[inputPosition]);
    to.finish(outputPosition);
    return result;
}

void CZvPathNormalizer::step(char16_t unit) {
    // By the class of the character: dot, separator, name, end.
    static constexpr State transitions[kEnd][4] = {
        /* Start */ {kLeadingDot, kSeparator, kName, kEnd},
        /* Name */ {kName, kSeparator, kName, kEnd},
        /* Separator */ {kSeparatorDot, kSeparator, kName, kEnd},
        /* SeparatorDot */ {kSeparatorDotDot, kSeparator, kName, kEnd},
        /* SeparatorDotDot */ {kName, kSeparator, kName, kEnd},
        /* LeadingDot */ {kLeadingDotDot, kLeadingDotSeparator, kName, kEnd},
        /* LeadingDotSeparator */ {kLeadingDot, kLeadingDotSeparator, kName, kEnd},
        /* LeadingDotDot */ {kName, kLeadingDotDotSeparator, kName, kEnd},
        /* LeadingDotDotSeparator */ {kLeadingDot, kLeadingDotDotSeparator, kName, kEnd},
    };
    const State next = transitions[state][classOf(unit)];
    if (next == kName) {
        writePending();
        write(unit);
    } else if (next == kEnd) {
        finish();
    } else if (state == kSeparatorDotDot) {
        goUp();
        // A relative path whose levels are used up goes on as at its beginning, except that another
        // separator must not make it absolute.
        state = outputPosition != 0 || isAbsolute() ? kSeparator : kLeadingDotDotSeparator;
        return;
    } else if (next == kLeadingDotDotSeparator && state == kLeadingDotDot) {
        writeDots(2);
        write(separator);
    }
    state = next;
}

// The dots were part of a name, and the separator in front of it counts.
void CZvPathNormalizer::writePending() {
    switch (state) {
    case kSeparator:
        write(separator);
        break;
    case kSeparatorDot:
        write(separator);
        writeDots(1);
        break;
    case kSeparatorDotDot:
        write(separator);
        writeDots(2);
        break;
    case kLeadingDot:
        writeDots(1);
        break;
    case kLeadingDotDot:
        writeDots(2);
        break;
    default:
        break;
    }
}

// Takes the last component back, and the separator in front of it.
void CZvPathNormalizer::goUp() {
    if (endsWithParent()) {
        write(separator);
        writeDots(2);
        return;
    }
    while (outputPosition > 0 && output[--outputPosition] != separator) {
    }
}

void CZvPathNormalizer::finish() {
    switch (state) {
    case kSeparator:
    case kSeparatorDot:
        write(separator);
        break;
    case kSeparatorDotDot: {
        const bool kept = endsWithParent();
        goUp();
        if (!kept && (outputPosition != 0 || isAbsolute()))
            write(separator);
        break;
    }
    case kLeadingDot:
    case kLeadingDotSeparator:
        if (outputPosition != 0)
            break;
        writeDots(1);
        if (inputPosition > 1) // more than the "." alone
            write(separator);
        break;
    case kLeadingDotDot:
        writeDots(2);
        break;
    default:
        break;
    }
}

void CZvPathNormalizer::writeDots(std::int32_t count) {
    for (; count > 0; --count)
        write(u'.');
}

// Whether the output ends with a ".." that was kept: there is no name to take back then.
bool CZvPathNormalizer::endsWithParent() const {
    return outputPosition >= 2 && output[outputPosition - 1] == u'.' &&
           output[outputPosition - 2] == u'.' &&
           (outputPosition == 2 || output[outputPosition - 3] == separator);
}

} // namespace ZVCL
