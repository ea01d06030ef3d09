#include "text/com_converters.h"

#include "core/result.h"
#include "support/converter_cases.h"
#include "util/buffer_hold.h"

#include <gtest/gtest.h>

namespace {

using namespace ZVCL;
using namespace zv::test;
using zv::core::kFail;

// A charset made up for these tests. ASCII is one byte; U+0080 to U+1FFF are two, 0x80 + the high
// byte and the low byte; U+10000 to U+1FFFF three, 0xF0 and the low 16 bits. Beyond that:
constexpr char16_t kFailing = 0x2603;  // EncodeChar fails, having appended a byte
constexpr char16_t kEmpty = 0x2604;    // nothing is appended
constexpr char16_t kTooLong = 0x2605;  // seven bytes are appended
constexpr char16_t kSixBytes = 0x2606; // "sixsix"
// Bytes: FD is beyond Unicode, FE a surrogate, FF sets no code point, FC claims more than there is.

class FakeCodec final : public IZvCharCodec {
public:
    ResultCode ZV_INTERFACE_CALL QueryInterface(const ZvIid&, void** object) override {
        *object = nullptr;
        return zv::core::kNoInterface;
    }
    std::uint32_t ZV_INTERFACE_CALL AddRef() override { return ++references; }
    std::uint32_t ZV_INTERFACE_CALL Release() override { return --references; }

    ResultCode ZV_INTERFACE_CALL GetName(IZvCharBuffer* buffer) override {
        asked += "N";
        throwIn('N');
        // As a component may: hold what it is handed for as long as it uses it.
        const ZvRef<IZvCharBuffer> held = ZvRef<IZvCharBuffer>::share(buffer);
        BufferWriteHold<char16_t> hold(*held, 8);
        std::u16string_view(u"X-FAKE").copy(hold.data(), 6);
        hold.finish(6);
        return nameResult;
    }
    ResultCode ZV_INTERFACE_CALL GetMaxBytesPerChar(std::int32_t* value) override {
        asked += "B";
        throwIn('B');
        *value = 6;
        return bytesResult;
    }
    ResultCode ZV_INTERFACE_CALL GetMaxCharsPerByte(std::int32_t* value) override {
        asked += "C";
        throwIn('C');
        *value = 2;
        return charsResult;
    }

    ResultCode ZV_INTERFACE_CALL DecodeChar(const std::uint8_t* input, std::int32_t* inOutCount,
                                            std::uint32_t* codePoint) override {
        throwIn('D');
        const std::uint8_t first = input[0];
        std::int32_t needed = first < 0x80 ? 1 : first < 0xA0 ? 2 : first == 0xF0 ? 3 : 1;
        if (first == 0xFC)
            needed = *inOutCount + 1;
        else if (*inOutCount < needed)
            needed = 0;
        else if (first < 0x80)
            *codePoint = first;
        else if (first < 0xA0)
            *codePoint = (first - 0x80u) << 8 | input[1];
        else if (first == 0xF0)
            *codePoint = 0x10000u | input[1] << 8 | input[2];
        else if (first == 0xFD)
            *codePoint = 0x110000;
        else if (first == 0xFE)
            *codePoint = 0xD800;
        *inOutCount = needed;
        return kFail; // nobody looks at it
    }
    ResultCode ZV_INTERFACE_CALL EncodeChar(std::uint32_t codePoint,
                                            IZvByteBuffer* buffer) override {
        throwIn('E');
        std::string bytes;
        if (codePoint < 0x80)
            bytes = {static_cast<char>(codePoint)};
        else if (codePoint < 0x2000)
            bytes = {static_cast<char>(0x80 + (codePoint >> 8)), static_cast<char>(codePoint)};
        else if (codePoint >> 16 == 1)
            bytes = {'\xF0', static_cast<char>(codePoint >> 8), static_cast<char>(codePoint)};
        else if (codePoint == kTooLong)
            bytes = "sevenal";
        else if (codePoint == kSixBytes)
            bytes = "sixsix";
        else if (codePoint == kFailing)
            bytes = "!";
        const std::int32_t size = static_cast<std::int32_t>(bytes.size());
        const std::int32_t before = buffer->GetLength();
        BufferWriteHold<std::uint8_t> hold(*buffer, before + size);
        std::copy(bytes.begin(), bytes.end(), hold.data() + before);
        hold.finish(before + size);
        return codePoint == kFailing ? kFail : 0;
    }

    ResultCode nameResult = 0, bytesResult = 0, charsResult = 0;
    char throwing = 0; // the question that is answered by an exception
    std::string asked;
    std::uint32_t references = 1; // the test's own

private:
    void throwIn(char question) const {
        if (throwing == question)
            throw question;
    }
};

TEST(ComConverters, AskTheCodecAndHoldIt) {
    FakeCodec codec;
    {
        const auto encoder = makeRef<CZvCTBCom>(&codec);
        const auto decoder = makeRef<CZvBTCCom>(&codec);
        EXPECT_EQ("NBCNBC", codec.asked);
        EXPECT_EQ(3u, codec.references);
        EXPECT_EQ(std::u16string_view(u"X-FAKE"), encoder->getCharacterEncoding());
        EXPECT_EQ(std::u16string_view(u"X-FAKE"), decoder->getCharacterEncoding());
        EXPECT_EQ(6, encoder->getMaxBytesPerChar());
        EXPECT_EQ(2, decoder->getMaxCharsPerByte());
    }
    EXPECT_EQ(1u, codec.references);
}

TEST(ComConverters, RefuseACodecThatFails) {
    static const struct {
        ResultCode FakeCodec::*result;
        const char* asked;
    } cases[] = {{&FakeCodec::nameResult, "N"},
                 {&FakeCodec::bytesResult, "NB"},
                 {&FakeCodec::charsResult, "NBC"}};
    for (const auto& row : cases) {
        FakeCodec codec;
        codec.*row.result = -77;
        EXPECT_EQ("EZvResultException -77", errorOf([&] { const CZvCTBCom refused(&codec); }));
        EXPECT_EQ(row.asked, codec.asked);
        EXPECT_EQ("EZvResultException -77", errorOf([&] { const CZvBTCCom refused(&codec); }));
        EXPECT_EQ(1u, codec.references);
    }
}

// It breaks its contract, and is treated as one that fails.
TEST(ComConverters, LetNoExceptionOfACodecThrough) {
    FakeCodec codec;
    const std::string failure = "EZvResultException " + std::to_string(kFail);
    for (const char question : {'N', 'B', 'C'}) {
        codec.throwing = question;
        EXPECT_EQ(failure, errorOf([&] { const CZvCTBCom refused(&codec); })) << question;
        EXPECT_EQ(failure, errorOf([&] { const CZvBTCCom refused(&codec); })) << question;
        EXPECT_EQ(1u, codec.references);
    }
    codec.throwing = 0;
    const auto encoder = makeRef<CZvCTBCom>(&codec);
    const auto decoder = makeRef<CZvBTCCom>(&codec);
    codec.throwing = 'E';
    std::uint8_t bytes[2];
    char16_t text[2];
    std::int32_t in = 0, out = 0;
    EXPECT_EQ(1, encoder->convert(u"a", in, 1, bytes, out, 2));
    EXPECT_EQ('?', bytes[0]);
    codec.throwing = 'D';
    in = out = 0;
    EXPECT_EQ(1, decoder->convert(toBytes("ab").data(), in, 2, text, out, 2));
    EXPECT_EQ(0xFFFD, text[0]);
    EXPECT_EQ(2, in); // nobody said how many bytes to pass over
}

template <typename Direction, typename Com>
auto creator(FakeCodec& codec, bool strict,
             std::basic_string<typename Direction::Output> substitution) {
    return [&codec, strict, substitution]() -> ZvRef<typename Direction::Converter> {
        const auto converter = makeRef<Com>(&codec);
        converter->setSubstitutionMode(!strict);
        converter->setSubstitution(substitution.data(),
                                   static_cast<std::int32_t>(substitution.size()));
        return converter;
    };
}

TEST(ComConverters, Encode) {
    static const struct {
        bool strict;
        std::u16string input;
        std::string bytes; // the substitution is "<#>"
        const char* error;
    } cases[] = {
        {true, u"a\u0391\U0001F600z", {"a\x83\x91\xF0\xF6\0z", 7}, ""},
        {true, {kSixBytes, u'a'}, "sixsixa", ""},
        {false, {u'a', kFailing, kEmpty, kTooLong, u'z'}, "a<#><#><#>z", ""},
        {false, u"\U0010FFFF\U0001F600", {"<#>\xF0\xF6\0", 6}, ""},
        {true, {kFailing}, "", "EZvUnmappableCharacter"},
        {true, {kEmpty}, "", "EZvUnmappableCharacter"},
        {true, {kTooLong}, "", "EZvUnmappableCharacter"},
        {true, u"\U0010FFFF", "", "EZvUnmappableCharacter"},
        {false, {u'a', 0xD83D}, "", "EZvInvalidCharacter: leading surrogate without trailing"},
        {false, {0xD83D, u'a'}, "", "EZvInvalidCharacter: leading surrogate without trailing"},
        {false, {u'a', 0xDE00}, "", "EZvInvalidCharacter: trailing surrogate without leading"},
    };
    FakeCodec codec;
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        checkConversion<Encoding>(creator<Encoding, CZvCTBCom>(codec, row.strict, toBytes("<#>")),
                                  row.input, toBytes(row.bytes), {}, row.error, 6);
    }
    EXPECT_EQ(1u, codec.references);
}

TEST(ComConverters, Decode) {
    static const struct {
        bool strict;
        Bytes input;
        std::u16string chars; // the substitution is "<>"
        Bytes left;
        const char* error;
    } cases[] = {
        {true, {'a', 0x83, 0x91, 0xF0, 0xF6, 0x00, 'z'}, u"a\u0391\U0001F600z", {}, ""},
        {true, {'a', 0x83}, u"a", {0x83}, ""},
        {true, {0xF0, 0xF6}, u"", {0xF0, 0xF6}, ""},
        {true, {'a', 0xFC}, u"a", {0xFC}, ""},
        {false, {'a', 0xFF, 0xFD, 'z'}, u"a<><>z", {}, ""},
        {true, {0xFF}, u"", {}, "EZvUnmappableCharacter"},
        {true, {0xFD}, u"", {}, "EZvUnmappableCharacter"},
        {false,
         {'a', 0xFE},
         u"",
         {},
         "EZvInvalidCharacter: Invalid byte sequence (decoded chars in surrogate range)"},
    };
    FakeCodec codec;
    for (const auto& row : cases) {
        SCOPED_TRACE(&row - cases);
        checkConversion<Decoding>(creator<Decoding, CZvBTCCom>(codec, row.strict, u"<>"), row.input,
                                  row.chars, row.left, row.error, 2);
    }
    EXPECT_EQ(1u, codec.references);
}

} // namespace
