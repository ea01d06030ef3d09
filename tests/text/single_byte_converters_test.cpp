#include "text/single_byte_converters.h"

#include "support/converter_cases.h"
#include "text/code_page_converters.h"
#include "text/code_page_tables.h"

#include <gtest/gtest.h>

#include <random>

namespace {

using namespace ZVCL;
using namespace zv::test;

enum Mode { kDefault, kStrict, kDropping }; // dropping: a substitution of two units

template <typename Direction>
auto creator(const char16_t* charset, Mode mode) {
    return [=] {
        auto converter = Direction::Converter::getConverter(charset);
        if (mode == kStrict)
            converter->setSubstitutionMode(false);
        if (mode == kDropping) {
            const typename Direction::Output two[] = {'<', '>'};
            converter->setSubstitution(two, 2);
        }
        return converter;
    };
}

constexpr char kUnmappable[] = "EZvUnmappableCharacter";
constexpr char kLoneLead[] = "EZvInvalidCharacter: leading surrogate without trailing";
constexpr char kLoneTrail[] = "EZvInvalidCharacter: trailing surrogate without leading";

TEST(SingleByteConverters, Encode) {
    static const struct {
        const char16_t* charset;
        Mode mode;
        std::u16string input;
        std::string bytes;
        const char* error;
    } cases[] = {
        {u"ASCII", kDefault, u"", "", ""},
        {u"ASCII", kStrict, {u"a\0\x7F", 3}, {"a\0\x7F", 3}, ""},
        {u"ASCII", kDefault, u"\xE9z\u4E2D", "?z?", ""},
        {u"ASCII", kStrict, u"\xE9", "", kUnmappable},
        {u"ASCII", kDropping, u"a\xE9z\u4E2D", "az", ""},
        {u"ASCII", kDefault, u"a\U0001F600z", "a?z", ""},
        {u"ASCII", kStrict, u"\U0001F600", "", kUnmappable},
        {u"ASCII", kDropping, u"a\U0001F600\U0001F600z\U0001F600", "az", ""},
        {u"ASCII", kDefault, {u'a', 0xD83D}, "", kLoneLead},
        {u"ASCII", kDefault, {u'a', 0xD83D, u'z'}, "", kLoneLead},
        {u"ASCII", kDefault, {0xD83D, 0xD83D, 0xDE00}, "", kLoneLead},
        {u"ASCII", kDropping, {0xD83D, 0}, "", kLoneLead},
        {u"ASCII", kDefault, {u'a', 0xDE00, u'z'}, "", kLoneTrail},
        {u"ASCII", kStrict, {0xDE00}, "", kLoneTrail},
        {u"ISO8859_1", kStrict, u"\xE9\x80\xFF", "\xE9\x80\xFF", ""},
        {u"ISO8859_1", kDefault, u"\u20AC\u0100\uFFFF", "???", ""},
        {u"ISO8859_1", kDefault, {0xDC80}, "", kLoneTrail},
        {u"CP1252", kStrict, u"\u20AC\xE9\u2122\u0192", "\x80\xE9\x99\x83", ""},
        {u"CP1252", kStrict, {u"\xE9\0\u20AC\0", 4}, {"\xE9\0\x80\0", 4}, ""},
        {u"CP1252", kDefault, u"\u0081\u0080\uFFFD", "???", ""},
        {u"CP1252", kStrict, u"\u0081", "", kUnmappable},
        {u"CP437", kStrict, u"\u2591\xE9\xA0\u03C0\u207F", "\xB0\x82\xFF\xE3\xFC", ""},
        {u"CP437", kDefault, u"\u20AC\u3041\U0010FFFF", "???", ""},
        // Unmappables behind a full and in the middle of a block.
        {u"CP437", kDefault, u"0123456789\u2591bcdef\u20AC123",
         "0123456789\xB0"
         "bcdef?123",
         ""},
        {u"CP1252", kDropping, u"0123456\u0081\u0080\U0001F600ab\u20AC\u0081", "0123456ab\x80", ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(narrowed(row.charset) + " " + std::to_string(&row - cases));
        checkConversion<Encoding>(creator<Encoding>(row.charset, row.mode), row.input,
                                  toBytes(row.bytes), {}, row.error, 1);
    }
}

TEST(SingleByteConverters, Decode) {
    static const struct {
        const char16_t* charset;
        Mode mode;
        std::string input;
        std::u16string chars;
        const char* error;
    } cases[] = {
        {u"ASCII", kStrict, {"a\0\x7F", 3}, {u"a\0\x7F", 3}, ""},
        {u"ASCII", kDefault, "\xE9z\x80", u"\uFFFDz\uFFFD", ""},
        {u"ASCII", kStrict, "\xE9", u"", kUnmappable},
        {u"ASCII", kDropping, "\xE9z\x80", u"z", ""},
        {u"ISO8859_1", kStrict, "\x80\x9F\xA0\xFF", u"\x80\x9F\xA0\xFF", ""},
        {u"CP1252", kStrict, "\x80\xE9\x83\xFF", u"\u20AC\xE9\u0192\xFF", ""},
        {u"CP1252", kDefault, "\x81\x8D\x8F\x90\x9D", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", ""},
        {u"CP1252", kStrict, "\x81", u"", kUnmappable},
        {u"CP1252", kDropping, "\x81z\x80\x9D", u"z\u20AC", ""},
        {u"CP437", kStrict, "\xB0\x82\xFF\xE3\x1A", u"\u2591\xE9\xA0\u03C0\x1A", ""},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(narrowed(row.charset) + " " + std::to_string(&row - cases));
        checkConversion<Decoding>(creator<Decoding>(row.charset, row.mode), toBytes(row.input),
                                  row.chars, {}, row.error, 1);
    }
}

// The shipped classes' own loops against the family's loop, which asks the hook unit by unit: same
// answers, positions, output, errors and held leads, call by call.
template <typename Direction, typename Family>
void compareWithHooks(const char16_t* charset, std::u16string_view alphabet) {
    using Input = typename Direction::Input;
    using Output = typename Direction::Output;
    std::mt19937 random(20);
    const auto below = [&](std::size_t limit) {
        return static_cast<std::size_t>(random() % std::max<std::size_t>(limit, 1));
    };
    for (int round = 0; round < 4000; ++round) {
        const auto create = creator<Direction>(charset, static_cast<Mode>(round % 3));
        const auto fast = create();
        const auto slow = create();
        Family& family = static_cast<Family&>(*slow);
        for (int call = 0; call < 4; ++call) {
            std::basic_string<Input> input(below(70), Input('a'));
            const std::size_t rarity = std::size_t(1) << below(8);
            for (Input& unit : input) {
                if (below(rarity) == 0)
                    unit = static_cast<Input>(below(4) == 0 ? random()
                                                            : alphabet[below(alphabet.size())]);
            }
            const std::int32_t size = static_cast<std::int32_t>(input.size());
            const std::int32_t room = static_cast<std::int32_t>(below(input.size() + 3));
            std::basic_string<Output> outputs[2];
            std::int32_t in[2] = {}, out[2] = {}, written[2] = {};
            std::string errors[2];
            for (const int side : {0, 1}) {
                outputs[side].resize(static_cast<std::size_t>(room));
                errors[side] = errorOf([&] {
                    written[side] = side == 0
                                        ? fast->convert(input.data(), in[0], size,
                                                        outputs[0].data(), out[0], room)
                                        : family.Family::convert(input.data(), in[1], size,
                                                                 outputs[1].data(), out[1], room);
                });
                if (!errors[side].empty())
                    outputs[side].clear();
                outputs[side].resize(static_cast<std::size_t>(out[side]));
            }
            ASSERT_EQ(errors[0], errors[1]) << round;
            ASSERT_EQ(in[0], in[1]) << round;
            ASSERT_EQ(out[0], out[1]) << round;
            ASSERT_EQ(written[0], written[1]) << round;
            ASSERT_EQ(outputs[0], outputs[1]) << round;
        }
    }
}

TEST(SingleByteConverters, FastRoadAgreesWithTheHooks) {
    constexpr std::u16string_view kAlphabet =
        u"az \x7F\xE9\xFF\x80\u20AC\u2591\u03C0\u0192\uFFFD\u0081\u4E2D\U0001F600\U0001F601\0";
    for (const char16_t* charset : {u"ASCII", u"ISO8859_1", u"CP437", u"CP1252"}) {
        SCOPED_TRACE(narrowed(charset));
        compareWithHooks<Encoding, CZvCTBSingleByte>(charset, kAlphabet);
        compareWithHooks<Decoding, CZvBTCSingleByte>(charset, kAlphabet);
    }
}

// A class derived outside the library: a page whose ASCII half is not ASCII, with a character that
// the fast loops use as a mark.
class CZvCTBOdd final : public CZvCTBSingleByte {
public:
    const char16_t* getCharacterEncoding() override { return u"ODD"; }
    std::uint8_t charToByte(char16_t character) override {
        return character == u'a' ? 0xC1 : character == 0xD801 ? 7 : 0;
    }
};

constexpr ByteToCharTable makeOddTable() {
    ByteToCharTable table{};
    for (std::size_t byte = 0; byte < 256; ++byte)
        table.chars[byte] = static_cast<char16_t>(byte % 3 == 0 ? 0xFFFE : 0x8000 + byte);
    return table;
}
constexpr ByteToCharTable kOddTable = makeOddTable();

class CZvBTCOdd final : public CZvBTCSingleByteTable {
public:
    CZvBTCOdd() : CZvBTCSingleByteTable(u"ODD", kOddTable.chars) {}
};

TEST(SingleByteConverters, ServeClassesDerivedOutside) {
    const std::function<ZvRef<CZvCharToByteConverter>()> encoder = [] {
        return makeRef<CZvCTBOdd>();
    };
    // Its hook knows a lone lead surrogate, which is then none to be held.
    checkConversion<Encoding>(encoder, {u'a', 0xD801, u'b'}, toBytes("\xC1\x07?"), {}, "", 1, '\0');
    const std::function<ZvRef<CZvByteToCharConverter>()> decoder = [] {
        return makeRef<CZvBTCOdd>();
    };
    Bytes input;
    std::u16string expected;
    for (std::size_t byte = 0; byte < 40; ++byte) {
        input += static_cast<std::uint8_t>(byte);
        expected += kOddTable.chars[byte];
    }
    const auto converter = decoder();
    std::basic_string<std::uint8_t> left;
    EXPECT_EQ(expected, convertInPieces<Decoding>(*converter, input, 20, 40, left));
    EXPECT_EQ(std::u16string_view(u"ODD"), converter->getCharacterEncoding());
}

TEST(SingleByteConverters, HoldALeadUntilResetOrItsTrail) {
    const auto converter = CZvCharToByteConverter::getConverter(u"CP437");
    const char16_t pair[] = {u'a', 0xD83D, 0xDE00};
    std::uint8_t output[2] = {};
    std::int32_t in = 0, out = 0;
    EXPECT_EQ(1, converter->convert(pair, in, 2, output, out, 2));
    EXPECT_EQ(2, in);
    // No room: the lead stays held, the trail in front of the position.
    EXPECT_EQ(0, converter->convert(pair, in, 3, output, out, 1));
    EXPECT_EQ(2, in);
    EXPECT_EQ(kLoneLead, errorOf([&] { converter->flush(output, out, 2); }));
    EXPECT_EQ(1, converter->convert(pair, in, 3, output, out, 2));
    EXPECT_EQ(3, in);
    EXPECT_EQ('?', output[1]);
    EXPECT_EQ(0, converter->flush(output, out, 2));

    in = 1;
    out = 0;
    converter->convert(pair, in, 2, output, out, 2);
    converter->reset();
    EXPECT_EQ(0, converter->flush(output, out, 2));
    EXPECT_EQ(kLoneTrail, errorOf([&] { converter->convert(pair, in, 3, output, out, 2); }));
    EXPECT_EQ(2, in);
}

template <typename Direction>
void checkSubstitution(std::basic_string<typename Direction::Output> initial) {
    using Output = typename Direction::Output;
    const auto converter = Direction::Converter::getConverter(u"ASCII");
    const std::int32_t capacity = Direction::Converter::kSubstitutionCapacity;
    EXPECT_TRUE(converter->getSubstitutionMode());
    EXPECT_FALSE(converter->setSubstitutionMode(false));
    EXPECT_FALSE(converter->getSubstitutionMode());

    const auto current = [&](std::int32_t room) {
        Output buffer[8] = {};
        const std::int32_t count = converter->getSubstitution(buffer, room);
        return std::basic_string<Output>(buffer, static_cast<std::size_t>(count));
    };
    EXPECT_EQ(initial, current(8));
    const std::basic_string<Output> units = {'1', '2', '3', '4', '5'};
    const auto longest = units.substr(0, static_cast<std::size_t>(capacity));
    converter->setSubstitution(units.data(), capacity);
    EXPECT_EQ(capacity, converter->getSubstitution(nullptr, 0));
    EXPECT_EQ(longest, current(8));
    EXPECT_EQ(units.substr(0, 1), current(1));
    EXPECT_EQ(units.substr(0, 0), current(-1));
    for (const std::int32_t count : {-1, capacity + 1, 0x7FFFFFFF}) {
        EXPECT_EQ("EZvRangeError",
                  errorOf([&] { converter->setSubstitution(units.data(), count); }));
    }
    EXPECT_EQ("EZvRangeError", errorOf([&] { converter->setSubstitution(nullptr, 1); }));
    EXPECT_EQ(longest, current(8));
    converter->reset();
    EXPECT_EQ(longest, current(8));
    EXPECT_FALSE(converter->getSubstitutionMode());
    converter->setSubstitution(nullptr, 0);
    EXPECT_EQ(0, converter->getSubstitution(nullptr, 0));
}

TEST(Substitution, IsBoundedAndSurvivesReset) {
    checkSubstitution<Encoding>(toBytes("?"));
    checkSubstitution<Decoding>(u"\uFFFD");
}

} // namespace
