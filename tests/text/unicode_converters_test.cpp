#include "lang/string.h"
#include "support/converter_cases.h"
#include "text/surrogates.h"
#include "text/utf16_converters.h"
#include "text/utf32_converters.h"
#include "text/utf8_converters.h"
#include "util/rw_buffer.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace ZVCL;
using namespace zv::test;

enum Mode { kDefault, kStrict, kPair, kEmpty }; // the last two: substitutions of two units, of none

template <typename Direction>
auto creator(const char16_t* charset, Mode mode) {
    return [=] {
        auto converter = Direction::Converter::getConverter(charset);
        if (mode == kStrict)
            converter->setSubstitutionMode(false);
        const typename Direction::Output two[] = {'<', '>'};
        if (mode == kPair || mode == kEmpty)
            converter->setSubstitution(two, mode == kPair ? 2 : 0);
        return converter;
    };
}

constexpr char kUnmappable[] = "EZvUnmappableCharacter";
constexpr char kLoneLead[] = "EZvInvalidCharacter: leading surrogate without trailing";
constexpr char kUtf8Surrogate[] =
    "EZvException: Invalid UTF-8 sequence (decoded chars in surrogate range)";
constexpr char kUtf32Surrogate[] = "EZvInvalidCharacter: Illegal UTF-32 char in surrogate range";

// The obvious way to do it all, unit by unit.
enum Form { kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE };
constexpr const char16_t* kNames[] = {u"UTF-8", u"UTF-16LE", u"UTF-16BE", u"UTF-32LE", u"UTF-32BE"};
constexpr Form kForms[] = {kUtf8, kUtf16LE, kUtf16BE, kUtf32LE, kUtf32BE};

bool is32(Form form) {
    return form == kUtf32LE || form == kUtf32BE;
}
std::size_t unitBytes(Form form) {
    return form == kUtf8 ? 1 : is32(form) ? 4 : 2;
}

Bytes encoded(Form form, std::uint32_t value) {
    Bytes bytes;
    if (form == kUtf8) {
        const int following = value < 0x80 ? 0 : value < 0x800 ? 1 : value < 0x10000 ? 2 : 3;
        constexpr int markers[] = {0, 0xC0, 0xE0, 0xF0};
        for (int i = following; i >= 0; --i) {
            const std::uint32_t bits = value >> 6 * i;
            bytes += static_cast<std::uint8_t>(i == following ? markers[i] | bits
                                                              : 0x80 | (bits & 0x3F));
        }
        return bytes;
    }
    for (std::size_t i = 0; i < unitBytes(form); ++i)
        bytes += static_cast<std::uint8_t>(value >> 8 * i);
    if (form == kUtf16BE || form == kUtf32BE)
        std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

// The bytes that a run of text yields, or the error, and how far it came.
template <typename Output>
struct Outcome {
    Output output;
    std::int32_t in = 0;
    std::string error;
};

Outcome<Bytes> referenceEncode(Form form, std::u16string_view input, std::size_t room,
                               char16_t& held) {
    Outcome<Bytes> result;
    char16_t lead = held;
    for (const char16_t unit : input) {
        if (is32(form) && room - result.output.size() < 4)
            break;
        std::uint32_t value = unit;
        if (form == kUtf8 || is32(form)) {
            if (lead != 0 && !isTrailSurrogate(unit)) {
                if (form == kUtf8)
                    return {{}, 0, kLoneLead};
                result.error = kLoneLead;
                break;
            }
            if (lead == 0 && isLeadSurrogate(unit)) {
                lead = unit;
                ++result.in;
                continue;
            }
            if (lead != 0)
                value = codePointOfPair(lead, unit);
        }
        const Bytes bytes = encoded(form, value);
        if (result.output.size() + bytes.size() > room)
            break;
        result.output += bytes;
        ++result.in;
        lead = 0;
    }
    held = lead;
    return result;
}

Outcome<std::u16string> referenceDecode(Form form, const Bytes& input, std::size_t room,
                                        Mode mode) {
    constexpr std::uint32_t offsets[] = {0, 0x3080, 0xE2080, 0x3C82080, 0xFA082080, 0x82082080};
    Outcome<std::u16string> result;
    for (std::size_t in = 0; in < input.size(); result.in = static_cast<std::int32_t>(in)) {
        std::size_t size = unitBytes(form);
        if (form == kUtf8) {
            for (std::uint32_t bit = 0x40; size < 6 && (~input[in] & (0x80 | bit)) == 0; bit >>= 1)
                ++size;
        }
        if (in + size > input.size())
            break;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < size; ++i) {
            const bool bigEndian = form == kUtf16BE || form == kUtf32BE;
            if (form == kUtf8)
                value = (value << 6) + input[in + i];
            else
                value = value << 8 | input[in + (bigEndian ? i : size - 1 - i)];
        }
        if (form == kUtf8)
            value -= offsets[size - 1];
        if (is32(form) && result.output.size() == room)
            break;
        std::u16string units(1, static_cast<char16_t>(value));
        std::string error;
        if (value > 0x10FFFF) {
            error = mode == kStrict ? kUnmappable : "";
            units = mode == kDefault ? u"\uFFFD" : mode == kPair ? u"<>" : u"";
        } else if (value > 0xFFFF) {
            units = {leadOf(value), trailOf(value)};
        } else if (unitBytes(form) != 2 && isSurrogate(value)) {
            error = form == kUtf8 ? kUtf8Surrogate : kUtf32Surrogate;
        }
        if (!error.empty()) {
            if (form == kUtf8)
                return {{}, 0, error};
            result.error = error;
            break;
        }
        if (result.output.size() + units.size() > room)
            break;
        result.output += units;
        in += size;
    }
    return result;
}

// Runs one call into a block of exactly `room` units.
template <typename Direction, typename Convert>
auto outcomeOf(const std::basic_string<typename Direction::Input>& input, std::size_t room,
               Convert convert) {
    using Input = typename Direction::Input;
    using Output = typename Direction::Output;
    Outcome<std::basic_string<Output>> result;
    const auto from = exactCopy(std::basic_string_view<Input>(input));
    const auto to = std::make_unique_for_overwrite<Output[]>(room);
    std::int32_t out = 0;
    result.error = errorOf([&] {
        const std::int32_t written =
            convert(from.get(), result.in, static_cast<std::int32_t>(input.size()), to.get(), out,
                    static_cast<std::int32_t>(room));
        EXPECT_EQ(out, written);
    });
    result.output.assign(to.get(), static_cast<std::size_t>(out));
    return result;
}

template <typename Output>
void expectSame(const Outcome<Output>& expected, const Outcome<Output>& met, int round) {
    ASSERT_EQ(expected.error, met.error) << round;
    ASSERT_EQ(expected.in, met.in) << round;
    ASSERT_EQ(expected.output, met.output) << round;
}

class RandomText {
public:
    std::size_t below(std::size_t limit) { return random() % std::max<std::size_t>(limit, 1); }

    // Runs of one kind each, so that every batch is met whole and torn.
    std::u16string next() {
        std::u16string text;
        const std::size_t size = below(90);
        const bool broken = below(4) == 0;
        while (text.size() < size) {
            const std::size_t kind = below(broken ? 6 : 5);
            for (std::size_t run = below(4) == 0 ? below(40) : below(5); run > 0; --run)
                add(text, kind);
        }
        return text;
    }

private:
    void add(std::u16string& text, std::size_t kind) {
        const auto pick = [&](std::size_t from, std::size_t to) {
            text += static_cast<char16_t>(from + below(to - from + 1));
        };
        switch (kind) {
        case 0:
            return pick(0, 0x7F);
        case 1:
            return pick(0x80, 0x7FF);
        case 2:
            return pick(0x800, 0xD7FF);
        case 3:
            return pick(0xE000, 0xFFFF);
        case 4:
            pick(0xD800, 0xDBFF);
            return pick(0xDC00, 0xDFFF);
        default:
            return pick(0xD800, 0xDFFF);
        }
    }

    std::mt19937 random{30};
};

// The fast roads, and the families' loops over the hooks, against the reference; the input of a
// call begins where the one before stopped.
TEST(UnicodeConverters, EncodeLikeTheReference) {
    RandomText random;
    for (int round = 0; round < 15000; ++round) {
        const Form form = kForms[random.below(5)];
        const auto fast = CZvCharToByteConverter::getConverter(kNames[form]);
        const auto slow = CZvCharToByteConverter::getConverter(kNames[form]);
        char16_t held = 0;
        std::u16string left;
        for (int call = 0; call < 3; ++call) {
            left += random.next();
            const std::size_t room = random.below(left.size() * 4 + 8);
            const auto expected = referenceEncode(form, left, room, held);
            expectSame(
                expected,
                outcomeOf<Encoding>(
                    left, room, [&](auto&&... arguments) { return fast->convert(arguments...); }),
                round);
            expectSame(expected,
                       outcomeOf<Encoding>(
                           left, room,
                           [&](auto&&... arguments) {
                               if (form == kUtf8)
                                   return slow->convert(arguments...);
                               if (is32(form))
                                   return static_cast<CZvCTBUTF32&>(*slow).CZvCTBUTF32::convert(
                                       arguments...);
                               return static_cast<CZvCTBUTF16&>(*slow).CZvCTBUTF16::convert(
                                   arguments...);
                           }),
                       round);
            std::int32_t out = 0;
            ASSERT_EQ(held != 0 ? kLoneLead : "", errorOf([&] { fast->flush(nullptr, out, 0); }));
            if (HasFatalFailure())
                return;
            left.erase(0, static_cast<std::size_t>(expected.in));
            if (!expected.error.empty()) {
                fast->reset();
                slow->reset();
                held = 0;
                left.clear();
            }
        }
    }
}

TEST(UnicodeConverters, DecodeLikeTheReference) {
    RandomText random;
    for (int round = 0; round < 15000; ++round) {
        const Form form = kForms[random.below(5)];
        const Mode mode = static_cast<Mode>(random.below(4));
        const auto converter = creator<Decoding>(kNames[form], mode)();
        Bytes input;
        char16_t held = 0;
        input = referenceEncode(form, random.next(), 1000, held).output;
        for (std::size_t faults = random.below(3) == 0 ? 1 + random.below(4) : 0; faults > 0;
             --faults) {
            const std::size_t place = random.below(input.size());
            const auto byte = static_cast<std::uint8_t>(0x80 * random.below(2) + random.below(128));
            if (random.below(2) == 0)
                input.insert(place, 1, byte);
            else if (!input.empty())
                input[place] = byte;
        }
        input.resize(input.size() - random.below(std::min<std::size_t>(input.size(), 3)));
        const std::size_t room = random.below(input.size() + 8);
        const auto expected = referenceDecode(form, input, room, mode);
        expectSame(
            expected,
            outcomeOf<Decoding>(
                input, room, [&](auto&&... arguments) { return converter->convert(arguments...); }),
            round);
        if (form != kUtf8) {
            expectSame(expected,
                       outcomeOf<Decoding>(input, room,
                                           [&](auto&&... arguments) {
                                               if (is32(form))
                                                   return static_cast<CZvBTCUTF32&>(*converter)
                                                       .CZvBTCUTF32::convert(arguments...);
                                               return static_cast<CZvBTCUTF16&>(*converter)
                                                   .CZvBTCUTF16::convert(arguments...);
                                           }),
                       round);
        }
        if (HasFatalFailure())
            return;
    }
}

// Converts behind padding, cut at every unit, into every room from minRoom.
template <typename Direction>
void checkEverywhere(const char16_t* charset, Mode mode,
                     const std::basic_string<typename Direction::Input>& input,
                     const std::basic_string<typename Direction::Output>& expected,
                     const std::basic_string<typename Direction::Input>& expectedLeft,
                     const std::basic_string<typename Direction::Input>& pad,
                     const std::basic_string<typename Direction::Output>& paddedTo,
                     std::int32_t minRoom) {
    auto padded = input;
    auto whole = expected;
    for (int padding = 0; padding <= 17; ++padding) {
        for (std::size_t cut = 0; cut <= padded.size(); ++cut) {
            const auto mostRoom = static_cast<std::int32_t>(whole.size()) + 1;
            for (std::int32_t room = minRoom; room <= std::max(minRoom, mostRoom); ++room) {
                std::basic_string<typename Direction::Input> left;
                const auto converter = creator<Direction>(charset, mode)();
                ASSERT_EQ(whole, convertInPieces<Direction>(*converter, padded, cut, room, left))
                    << padding << " " << cut << " " << room;
                ASSERT_EQ(expectedLeft, left) << padding << " " << cut << " " << room;
            }
        }
        padded = pad + padded;
        whole = paddedTo + whole;
    }
}

TEST(UnicodeConverters, TakeTextInPieces) {
    static const struct {
        std::u16string chars;
        std::string bytes[5]; // in the order of Form
    } cases[] = {
        {u"\xE9", {"\xC3\xA9", {"\xE9\0", 2}, {"\0\xE9", 2}, {"\xE9\0\0\0", 4}, {"\0\0\0\xE9", 4}}},
        {u"\uFEFF", // no byte order mark: a character
         {"\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF", {"\xFF\xFE\0\0", 4}, {"\0\0\xFE\xFF", 4}}},
        {u"\u20ACz",
         {"\xE2\x82\xACz",
          {"\xAC\x20z\0", 4},
          {"\x20\xAC\0z", 4},
          {"\xAC\x20\0\0z\0\0\0", 8},
          {"\0\0\x20\xAC\0\0\0z", 8}}},
        {u"\U00010000",
         {"\xF0\x90\x80\x80",
          {"\x00\xD8\x00\xDC", 4},
          {"\xD8\x00\xDC\x00", 4},
          {"\x00\x00\x01\x00", 4},
          {"\x00\x01\x00\x00", 4}}},
        {u"\U0001F600\U0010FFFF",
         {"\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF",
          {"\x3D\xD8\x00\xDE\xFF\xDB\xFF\xDF", 8},
          {"\xD8\x3D\xDE\x00\xDB\xFF\xDF\xFF", 8},
          {"\x00\xF6\x01\x00\xFF\xFF\x10\x00", 8},
          {"\x00\x01\xF6\x00\x00\x10\xFF\xFF", 8}}},
    };
    for (const auto& row : cases) {
        for (const Form form : kForms) {
            SCOPED_TRACE(narrowed(kNames[form]) + " " + std::to_string(&row - cases));
            const Bytes bytes = toBytes(row.bytes[form]);
            const Bytes x = encoded(form, u'x');
            checkEverywhere<Encoding>(kNames[form], kStrict, row.chars, bytes, {}, u"x", x, 4);
            checkEverywhere<Decoding>(kNames[form], kStrict, bytes, row.chars, {}, x, u"x", 2);
            if (!isTrailSurrogate(row.chars.back()) || unitBytes(form) == 2) {
                const Bytes torn(bytes.end() - static_cast<std::ptrdiff_t>(unitBytes(form)) + 1,
                                 bytes.end());
                if (form != kUtf8) // bytes of a unit to come
                    checkEverywhere<Decoding>(kNames[form], kStrict, bytes + torn, row.chars, torn,
                                              x, u"x", 2);
            }
        }
    }
}

TEST(UnicodeConverters, TakeBrokenUtf8InPieces) {
    static const struct {
        Mode mode;
        std::string bytes;
        std::u16string chars;
        const char* left;
        const char* error;
    } cases[] = {
        {kStrict, "\xC0\x80", {u"\0", 1}, "", ""},
        {kStrict, "\x80\xBFz", u"\x80\xBFz", "", ""},
        {kStrict, "\xE0\x80\xAF\xF0\x82\x82\xAC", u"/\u20AC", "", ""},
        {kStrict, "\xF8\x80\x80\x80\xAF\xFC\x80\x80\x80\x80\xAF", u"//", "", ""},
        {kStrict, "z\xE2\x82", u"z", "\xE2\x82", ""},
        {kStrict, "z\xF0\x9F\x98", u"z", "\xF0\x9F\x98", ""},
        {kStrict, "\xFDzzzz", u"", "\xFDzzzz", ""},
        {kStrict, "\xC3z", u"\xBA", "", ""}, // what follows counts for what it is
        {kDefault, "\xF4\x90\x80\x80z", u"\uFFFDz", "", ""},
        {kDefault, "\xC0\x01\xFD\xBF\xBF\xBF\xBF\xBF", u"\uFFFD\uFFFD", "", ""},
        {kPair, "\xF4\x90\x80\x80z", u"<>z", "", ""},
        {kEmpty, "\xF4\x90\x80\x80z", u"z", "", ""},
        {kStrict, "z\xF4\x90\x80\x80", u"", "", kUnmappable},
        {kDefault, "z\xED\xA0\x80", u"", "", kUtf8Surrogate},
        {kDefault, "z\xED\xBF\xBFz", u"", "", kUtf8Surrogate},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        checkConversion<Decoding>(creator<Decoding>(u"UTF-8", row.mode), toBytes(row.bytes),
                                  row.chars, toBytes(row.left), row.error, 2);
    }
    static const struct {
        std::u16string chars;
        std::string bytes;
        const char* error;
    } encodings[] = {
        {{0xDC00, u'z'}, "\xED\xB0\x80z", ""},
        {{0xD83D, 0xDE00, 0xDE00}, "\xF0\x9F\x98\x80\xED\xB8\x80", ""},
        {{0xD800, u'A'}, "", kLoneLead},
        {{0xD800, 0xD800, 0xDC00}, "", kLoneLead},
        {{u'z', 0xDBFF}, "", kLoneLead},
    };
    for (const auto& row : encodings) {
        SCOPED_TRACE(&row - encodings);
        checkConversion<Encoding>(creator<Encoding>(u"UTF-8", kDefault), row.chars,
                                  toBytes(row.bytes), {}, row.error, 4);
    }
}

// A lead and its trail over calls with too little room.
TEST(UnicodeConverters, HoldALead) {
    const char16_t pair[] = {0xD800, 0xDC00, u'A'};
    for (const Form form : {kUtf8, kUtf32BE}) {
        SCOPED_TRACE(narrowed(kNames[form]));
        const auto converter = CZvCharToByteConverter::getConverter(kNames[form]);
        const auto flush = [&] {
            return errorOf([&] {
                std::int32_t none = 0;
                EXPECT_EQ(0, converter->flush(nullptr, none, 0));
                EXPECT_EQ(0, none);
            });
        };
        std::uint8_t output[8];
        std::int32_t in = 0, out = 1;
        EXPECT_EQ(0, converter->convert(pair, in, 2, output, out, 1));
        EXPECT_EQ(form == kUtf8 ? 1 : 0, in); // a lead itself needs room in UTF-32 alone
        EXPECT_EQ(0, converter->convert(pair, in, 1, output, out, 5));
        EXPECT_EQ(1, in);
        EXPECT_EQ(kLoneLead, flush());
        EXPECT_EQ(0, converter->convert(pair, in, 3, output, out, 4));
        EXPECT_EQ(1, in);
        EXPECT_EQ(4, converter->convert(pair, in, 2, output, out, 5));
        EXPECT_EQ(2, in);
        EXPECT_EQ(encoded(form, 0x10000), Bytes(output + 1, 4));
        EXPECT_EQ("", flush());

        in = out = 0;
        converter->convert(pair, in, 1, output, out, 8);
        converter->reset();
        EXPECT_EQ("", flush());
        in = 0;
        converter->convert(pair, in, 1, output, out, 8);
        in = 2;
        EXPECT_EQ(kLoneLead, errorOf([&] { converter->convert(pair, in, 3, output, out, 8); }));
        EXPECT_EQ(2, in);
        EXPECT_EQ(0, out);
        EXPECT_EQ(kLoneLead, flush());
    }
}

TEST(UnicodeConverters, AnswerTheirConstants) {
    static const struct {
        std::vector<const char16_t*> names;
        const char* encoding;
        std::int32_t encoderFactors[2], decoderFactors[2];
        std::string substitution;
    } cases[] = {
        {{u"UTF-8", u"utf-8", u"UTF8", u"utf_8"}, "UTF-8", {6, 1}, {6, 4}, "?"},
        {{u"UTF-16LE", u"utf-16le"}, "UTF-16LE", {4, 4}, {4, 4}, "\xFD\xFF"},
        {{u"UTF-16BE"}, "UTF-16BE", {4, 4}, {4, 4}, "\xFF\xFD"},
        {{u"UTF-32LE"}, "UTF-32LE", {4, 4}, {4, 4}, {"\xFD\xFF\0\0", 4}},
        {{u"UTF-32BE"}, "UTF-32BE", {4, 4}, {4, 4}, {"\0\0\xFF\xFD", 4}},
    };
    for (const auto& row : cases) {
        for (const char16_t* name : row.names) {
            SCOPED_TRACE(narrowed(name));
            const auto encoder = CZvCharToByteConverter::getConverter(name);
            const auto decoder = CZvByteToCharConverter::getConverter(name);
            EXPECT_EQ(row.encoding, narrowed(encoder->getCharacterEncoding()));
            EXPECT_EQ(row.encoding, narrowed(decoder->getCharacterEncoding()));
            EXPECT_EQ(row.encoderFactors[0], encoder->getMaxBytesPerChar());
            EXPECT_EQ(row.encoderFactors[1], encoder->getMaxCharsPerByte());
            EXPECT_EQ(row.decoderFactors[0], decoder->getMaxBytesPerChar());
            EXPECT_EQ(row.decoderFactors[1], decoder->getMaxCharsPerByte());
            std::uint8_t bytes[4];
            const auto size = static_cast<std::size_t>(encoder->getSubstitution(bytes, 4));
            EXPECT_EQ(toBytes(row.substitution), Bytes(bytes, size));
            char16_t chars[2] = {};
            EXPECT_EQ(1, decoder->getSubstitution(chars, 2));
            EXPECT_EQ(0xFFFD, chars[0]);
        }
    }
}

// A class derived outside the library, for each family.
template <typename Base>
class Mirrored final : public Base {
public:
    const char16_t* getCharacterEncoding() override { return u"MIRRORED"; }
    std::uint16_t orderUnit16(std::uint16_t unit) override {
        return static_cast<std::uint16_t>(unit ^ 0x5A00);
    }
    std::uint32_t orderUnit32(std::uint32_t value) override { return value << 16 | value >> 16; }
};

TEST(UnicodeConverters, AskTheHooksOfClassesDerivedOutside) {
    static const std::u16string text = u"0123456789 \xE9\u4E2D\U0001F600\U0001F601";
    Bytes utf16, utf32;
    for (const char16_t unit : text)
        utf16 += encoded(kUtf16LE, unit ^ 0x5A00u);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool pair = isLeadSurrogate(text[i]);
        const std::uint32_t value = pair ? codePointOfPair(text[i], text[i + 1]) : text[i];
        utf32 += encoded(kUtf32LE, value << 16 | value >> 16);
        i += pair;
    }
    Bytes left;
    std::u16string charsLeft;
    Mirrored<CZvCTBUTF16> encoder16;
    Mirrored<CZvBTCUTF16> decoder16;
    Mirrored<CZvCTBUTF32> encoder32;
    Mirrored<CZvBTCUTF32> decoder32;
    EXPECT_EQ(utf16, convertInPieces<Encoding>(encoder16, text, 3, 80, charsLeft));
    EXPECT_EQ(text, convertInPieces<Decoding>(decoder16, utf16, 3, 80, left));
    EXPECT_EQ(utf32, convertInPieces<Encoding>(encoder32, text, 3, 80, charsLeft));
    EXPECT_EQ(text, convertInPieces<Decoding>(decoder32, utf32, 3, 80, left));

    CZvCTBUTF16LE little16;
    CZvCTBUTF16BE big16;
    CZvBTCUTF32LE little32;
    CZvBTCUTF32BE big32;
    EXPECT_EQ(0x1234, little16.orderUnit16(0x1234));
    EXPECT_EQ(0x3412, big16.orderUnit16(0x1234));
    EXPECT_EQ(0x3412u, big16.orderUnit32(0x1234)); // by its 16-bit function
    EXPECT_EQ(0x12345678u, little32.orderUnit32(0x12345678));
    EXPECT_EQ(0x78563412u, big32.orderUnit32(0x12345678));
    EXPECT_EQ(0x3412, big32.orderUnit16(0x1234));
}

TEST(UnicodeConverters, ServeTheString) {
    const CZvString text(std::u16string_view(u"a\xE9\u4E2D\U0001F600"));
    for (const Form form : kForms) {
        SCOPED_TRACE(narrowed(kNames[form]));
        const auto bytes = makeRef<CZvRWByteBuffer>();
        text.getBytes(*bytes, kNames[form]);
        char16_t held = 0;
        const Bytes expected = referenceEncode(form, text.view(), 100, held).output;
        ASSERT_EQ(expected + Bytes(1, 0),
                  Bytes(bytes->getBuffer(), static_cast<std::size_t>(bytes->getLength())));
        const auto size = static_cast<std::int32_t>(expected.size());
        const CZvString back = CZvString::fromNarrow(reinterpret_cast<const char*>(expected.data()),
                                                     size, kNames[form]);
        EXPECT_EQ(text.view(), back.view());
    }
    const CZvString torn(std::u16string_view(u"a\xD83D", 2));
    char bytes[16];
    EXPECT_EQ(kLoneLead, errorOf([&] { torn.toBytes(bytes, 16, u"utf8"); }));
}

} // namespace
