// Charsets that come from codec components: servers that are built over the public header alone, in
// the registry, through every way that text goes.
#include "text/external_charset.h"

#include "core/com/components.h"
#include "core/heap.h"
#include "core/lifecycle.h"
#include "core/registry/native_reg_key.h"
#include "lang/string.h"
#include "platform/win32.h"
#include "support/converter_cases.h"
#include "support/test_folder.h"
#include "text/codec_server.h"
#include "text/com_converters.h"
#include "text/converter_base.h"
#include "text/single_byte_converters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <clocale>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace ZVCL;
using namespace zv::test;

constexpr zvsupport::ZvGuid kSampleClass = {
    0x8C3E6A52, 0x4F0B, 0x4B7E, {0x9D, 0x61, 0x2A, 0x7C, 0x5E, 0x90, 0xB3, 0x14}};

zv::core::Guid guidOf(const zvsupport::ZvGuid& guid) {
    zv::core::Guid same;
    std::memcpy(&same, &guid, sizeof same);
    return same;
}

std::u16string textOf(const zvsupport::ZvGuid& guid) {
    char16_t text[zv::core::kGuidTextLength + 1];
    zv::core::GuidToString(guidOf(guid), text, sizeof text / sizeof *text);
    return text;
}

// The build's own paths count from the folder where the test program was started.
const std::filesystem::path startFolder = std::filesystem::current_path();
std::u16string sampleServer() {
    return (startFolder / ZV_SAMPLE_CODEC).u16string();
}
std::u16string wrongServer() {
    return (startFolder / ZV_CODEC_SERVER).u16string();
}

class ExternalCharset : public FolderTest {
protected:
    ExternalCharset() { restartLibrary(); }
    ~ExternalCharset() override { restartLibrary(); }

    // Nothing is remembered of the test before, and nothing of it is loaded.
    static void restartLibrary() {
        DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
        DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    }

    static void setText(const std::u16string& key, const std::u16string& text) {
        ASSERT_EQ(zv::core::NativeRegSetValue(
                      HKEY_CLASSES_ROOT_VALUE, key.c_str(), nullptr, zv::core::kRegString,
                      text.c_str(),
                      static_cast<std::uint32_t>((text.size() + 1) * sizeof(char16_t))),
                  0);
    }
    // The two values that make a component.
    static void registerServer(const zvsupport::ZvGuid& clsid, const std::u16string& server) {
        setText(u"CLSID\\" + textOf(clsid) + u"\\InprocServer32", server);
    }
    static void registerName(const std::u16string& charset, const zvsupport::ZvGuid& clsid) {
        setText(u"Zentrova.CharCodec." + charset + u"\\CLSID", textOf(clsid));
    }
    static void registerSample(const std::u16string& charset = u"CESU-8") {
        registerServer(kSampleClass, sampleServer());
        registerName(charset, kSampleClass);
    }
    static void registerWrong(WrongCodec which) {
        registerServer(classId(which), wrongServer());
        registerName(u"X-WRONG", classId(which));
    }
};

// The encoding that both directions answer, or the error that both throw.
std::string served(const char16_t* name) {
    std::string answers[2];
    answers[0] = errorOf([&] {
                     answers[0] = narrowed(
                         CZvCharToByteConverter::getConverter(name)->getCharacterEncoding());
                 }) +
                 answers[0];
    answers[1] = errorOf([&] {
                     answers[1] = narrowed(
                         CZvByteToCharConverter::getConverter(name)->getCharacterEncoding());
                 }) +
                 answers[1];
    return answers[0] == answers[1] ? answers[0] : answers[0] + " / " + answers[1];
}

std::string servedForPage(std::uint32_t page) {
    const auto encoder = codePageConverter<CZvCharToByteConverter, CZvCTBASCII>(
        page, ConverterDirection::charToByte);
    const auto decoder = codePageConverter<CZvByteToCharConverter, CZvBTCASCII>(
        page, ConverterDirection::byteToChar);
    const std::string answers[2] = {narrowed(encoder->getCharacterEncoding()),
                                    narrowed(decoder->getCharacterEncoding())};
    return answers[0] == answers[1] ? answers[0] : answers[0] + " / " + answers[1];
}

// ----- a component as it should be

TEST_F(ExternalCharset, IsServedByItsComponent) {
    EXPECT_EQ("EZvUnknownEncoding: CESU-8", served(u"CESU-8"));
    registerSample();
    EXPECT_EQ("CESU-8", served(u"CESU-8"));
    EXPECT_EQ("CESU-8", served(u"cesu-8")); // the component tells its own spelling
    EXPECT_EQ("EZvUnknownEncoding: CESU-9", served(u"CESU-9"));
    EXPECT_EQ("EZvUnknownEncoding: CESU-8 ", served(u"CESU-8 "));
    const auto encoder = CZvCharToByteConverter::getConverter(u"CESU-8");
    EXPECT_EQ(3, encoder->getMaxBytesPerChar());
    EXPECT_EQ(1, encoder->getMaxCharsPerByte());
    EXPECT_NE(encoder.get(), CZvCharToByteConverter::getConverter(u"CESU-8").get());

    // A name of the library's own is never looked for outside.
    registerName(u"UTF-8", kSampleClass);
    EXPECT_EQ("UTF-8", served(u"utf-8"));
}

TEST_F(ExternalCharset, ConvertsStringsBothWays) {
    registerSample();
    static const struct {
        const char16_t* text;
        const char* bytes;
    } cases[] = {
        {u"", ""},
        {u"plain", "plain"},
        {u"\u00E9\u07FF\u0800\uFFFF", "\xC3\xA9\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"},
        {u"\U0001F600", "\xED\xA0\xBD\xED\xB8\x80"},
        {u"a\U0010FFFFz", "a\xED\xAF\xBF\xED\xBF\xBFz"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.bytes);
        const CZvString string(row.text);
        const std::size_t length = std::strlen(row.bytes);
        EXPECT_EQ(string.view(), CZvString::fromNarrow(row.bytes, -1, u"CESU-8").view());
        std::vector<char> bytes(length + 1, '!');
        EXPECT_EQ(length + 1, static_cast<std::size_t>(string.toBytes(
                                  bytes.data(), static_cast<std::int32_t>(length + 1), u"CESU-8")));
        EXPECT_STREQ(row.bytes, bytes.data());
        CZvRWByteBuffer buffer;
        string.getBytes(buffer, u"CESU-8");
        EXPECT_EQ(toBytes({row.bytes, length + 1}),
                  Bytes(buffer.getBuffer(), static_cast<std::size_t>(buffer.getLength())));
    }
}

// A converter around a codec that is created once.
template <typename Direction, typename Com>
std::function<ZvRef<typename Direction::Converter>()> sampleConverter(bool strict) {
    void* object = nullptr;
    zv::core::CreateInstance(guidOf(kSampleClass), nullptr, IZvCharCodec::kIid, &object);
    const auto codec = ZvRef<IZvCharCodec>::adopt(static_cast<IZvCharCodec*>(object));
    return [codec, strict]() -> ZvRef<typename Direction::Converter> {
        const auto converter = makeRef<Com>(codec.get());
        converter->setSubstitutionMode(!strict);
        return converter;
    };
}

TEST_F(ExternalCharset, ConvertsStreamsCutAnywhere) {
    registerSample();
    static const struct {
        std::u16string text;
        std::string bytes;
        const char* error;
    } encoded[] = {
        {u"\u00E9\u0800z", "\xC3\xA9\xE0\xA0\x80z", ""},
        {u"\U0001F600z", "\xED\xA0\xBD\xED\xB8\x80z", ""},
        {{u'a', 0xD83D}, "", "EZvInvalidCharacter: leading surrogate without trailing"},
        {{u'a', 0xDE00}, "", "EZvInvalidCharacter: trailing surrogate without leading"},
    };
    for (const auto& row : encoded) {
        SCOPED_TRACE(row.bytes);
        checkConversion<Encoding>(sampleConverter<Encoding, CZvCTBCom>(true), row.text,
                                  toBytes(row.bytes), {}, row.error, 6);
    }
    static const struct {
        bool strict;
        std::string bytes;
        std::u16string text;
        std::string left;
        const char* error;
    } decoded[] = {
        {true, "\xC3\xA9\xE0\xA0\x80z", u"\u00E9\u0800z", "", ""},
        {true, "\xED\xA0\xBD\xED\xB8\x80z", u"\U0001F600z", "", ""},
        {true, "a\xE0\xA0", u"a", "\xE0\xA0", ""},
        {true, "a\xED\xA0\xBD\xED\xB8", u"a", "\xED\xA0\xBD\xED\xB8", ""},
        {true, "a\xED\xA0\xBD", u"a", "\xED\xA0\xBD", ""},
        {false, "\xC0\xAF\xF0z", u"\uFFFD\uFFFD\uFFFDz", "", ""},
        {false, "\xE0\x80\x80", u"\uFFFD\uFFFD\uFFFD", "", ""},
        {false, "\xED\xA0\xBDz\xED\xB8\x80z", u"\uFFFDz\uFFFDz", "", ""}, // halves of pairs
        {true, "\xED\xB8\x80", u"", "", "EZvUnmappableCharacter"},
        {true, "\xFFz", u"", "", "EZvUnmappableCharacter"},
    };
    for (const auto& row : decoded) {
        SCOPED_TRACE(row.bytes);
        checkConversion<Decoding>(sampleConverter<Decoding, CZvBTCCom>(row.strict),
                                  toBytes(row.bytes), row.text, toBytes(row.left), row.error, 2);
    }
}

TEST_F(ExternalCharset, ForgetsAHeldHalfAtReset) {
    registerSample();
    const auto encoder = CZvCharToByteConverter::getConverter(u"CESU-8");
    const char16_t lead[] = {0xD83D};
    std::uint8_t bytes[8];
    std::int32_t in = 0, out = 0;
    EXPECT_EQ(0, encoder->convert(lead, in, 1, bytes, out, 8));
    EXPECT_EQ(1, in);
    EXPECT_EQ("EZvInvalidCharacter: leading surrogate without trailing",
              errorOf([&] { encoder->flush(bytes, out, 8); }));
    encoder->reset();
    EXPECT_EQ(0, encoder->flush(bytes, out, 8));
    in = 0;
    EXPECT_EQ(1, encoder->convert(u"a", in, 1, bytes, out, 8));
}

TEST_F(ExternalCharset, IsUsedByAnyThread) {
    registerSample();
    registerName(u"CP932", kSampleClass);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            const CZvString text(u"\u00E9\U0001F600");
            for (int round = 0; round < 50; ++round) {
                CZvRWByteBuffer bytes;
                text.getBytes(bytes, u"CESU-8");
                const auto* chars = reinterpret_cast<const char*>(bytes.getBuffer());
                failures += CZvString::fromNarrow(chars, -1, u"CESU-8").view() != text.view();
                failures += servedForPage(932) != "CESU-8";
                failures += servedForPage(933) != "ASCII";
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

// ----- the default converter

TEST_F(ExternalCharset, ServesCodePages) {
    EXPECT_EQ("ASCII", servedForPage(932));
    registerSample(u"CP932"); // known at once, although the registry was just asked in vain
    EXPECT_EQ("CESU-8", servedForPage(932));
    EXPECT_EQ("ASCII", servedForPage(933));
    EXPECT_EQ("CESU-8", servedForPage(932));
    registerName(u"CP1252", kSampleClass);
    EXPECT_EQ("CP1252", servedForPage(1252));
    registerName(u"CP932", classId(WrongCodec::Unserved)); // and gone again
    EXPECT_EQ("ASCII", servedForPage(932));
}

TEST_F(ExternalCharset, IsTheDefaultOfItsCodePage) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C.UTF-8");
    const UINT page = GetACP();
    if (page == 437 || page == 1252) {
        std::setlocale(LC_ALL, before.c_str());
        GTEST_SKIP() << "this system's code page " << page << " is one of the library's own";
    }
    const CZvString text(u"\u00E9\U0001F600");
    EXPECT_EQ("ASCII", served(nullptr));
    EXPECT_STREQ("??", text.toNarrow());
    const std::string number = std::to_string(page);
    registerSample(u"CP" + std::u16string(number.begin(), number.end()));
    EXPECT_EQ("CESU-8", served(nullptr));
    EXPECT_STREQ("\xC3\xA9\xED\xA0\xBD\xED\xB8\x80", text.toNarrow());
    EXPECT_EQ(text.view(), CZvString::fromNarrow(text.toNarrow()).view());
    std::setlocale(LC_ALL, before.c_str());
}

// What another process does to the registry is seen by the next request for a name, and by those
// for the default soon.
TEST_F(ExternalCharset, IsFoundWhenAnotherProcessHasRegisteredIt) {
    EXPECT_EQ("EZvUnknownEncoding: CP932", served(u"CP932"));
    EXPECT_EQ("ASCII", servedForPage(932));
    std::string lines;
    const auto addText = [&](const std::u16string& key, const std::u16string& text) {
        const auto utf8 = [](const std::u16string& wide) {
            const auto bytes = std::filesystem::path(wide).u8string();
            return std::string(bytes.begin(), bytes.end());
        };
        lines += "[HKEY_CLASSES_ROOT\\" + utf8(key) + "]\n@=\"";
        for (const char ch : utf8(text))
            lines += ch == '\\' ? std::string("\\\\") : std::string(1, ch);
        lines += "\"\n\n";
    };
    addText(u"Zentrova.CharCodec.CP932\\CLSID", textOf(kSampleClass));
    addText(u"CLSID\\" + textOf(kSampleClass) + u"\\InprocServer32", sampleServer());
    putRegistry(lines);
    EXPECT_EQ("CESU-8", served(u"CP932"));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string answer;
    while ((answer = servedForPage(932)) == "ASCII" && std::chrono::steady_clock::now() < deadline)
        Sleep(10);
    EXPECT_EQ("CESU-8", answer);
}

int allocations;

// The fewest allocations that a request for a code page's converters takes. A search of the
// registry makes some of its own; it may come in between, but not every time.
int allocationsFor(std::uint32_t page) {
    int fewest = 1000;
    for (int i = 0; i < 20; ++i) {
        allocations = 0;
        zv::core::setHeapGate([] { return ++allocations != 0; });
        (void)codePageConverter<CZvCharToByteConverter, CZvCTBASCII>(
            page, ConverterDirection::charToByte);
        zv::core::setHeapGate(nullptr);
        fewest = std::min(fewest, allocations);
    }
    return fewest;
}

TEST_F(ExternalCharset, IsNotSearchedForByEveryConversion) {
    registerSample(u"CP932");
    EXPECT_EQ(allocationsFor(933), allocationsFor(1252)); // the converter
    const int component = allocationsFor(932);
    allocations = 0;
    zv::core::setHeapGate([] { return ++allocations != 0; });
    (void)CZvCharToByteConverter::getConverter(u"CP932");
    zv::core::setHeapGate(nullptr);
    EXPECT_LT(component, allocations);
}

int allocationsLeft;

// Runs body with each allocation failing in turn, until none does, and checks after each.
template <typename Body, typename Check>
void failEveryAllocation(Body body, Check check) {
    ResultCode code = zv::core::kOutOfMemory;
    for (int n = 0; code != zv::core::kOk; ++n) {
        ASSERT_LT(n, 1000);
        allocationsLeft = n;
        zv::core::setHeapGate([] { return allocationsLeft-- > 0; });
        code = resultFrame([&] {
            body();
            return zv::core::kOk;
        });
        const bool failed = allocationsLeft < 0;
        zv::core::setHeapGate(nullptr);
        EXPECT_TRUE(code == zv::core::kOk || failed);
        check(n);
    }
}

TEST_F(ExternalCharset, IsNotLostWhenMemoryIsShort) {
    registerSample();
    registerSample(u"CP932");
    failEveryAllocation([] { CZvCharToByteConverter::getConverter(u"CESU-8"); },
                        [](int n) { EXPECT_EQ("CESU-8", served(u"CESU-8")) << n; });
    restartLibrary();
    failEveryAllocation(
        [] {
            (void)codePageConverter<CZvByteToCharConverter, CZvBTCASCII>(
                932, ConverterDirection::byteToChar);
        },
        // ASCII stood in for it, but want of memory is not taken for an answer.
        [](int n) {
            EXPECT_EQ("CESU-8", servedForPage(932)) << n;
            restartLibrary();
        });
}

// ----- components that are wrong

TEST_F(ExternalCharset, IsUnknownWithoutAComponentThatCanBeCreated) {
    registerName(u"X-NO-CLASS", kSampleClass); // a name, but nothing under its class
    registerName(u"X-NO-LIBRARY", classId(WrongCodec::Misbehaves));
    registerServer(classId(WrongCodec::Misbehaves), wrongServer() + u".none");
    setText(u"Zentrova.CharCodec.X-NO-GUID\\CLSID", u"{no identifier}");
    setText(u"Zentrova.CharCodec.X-EMPTY\\CLSID", u"");
    setText(u"Zentrova.CharCodec.X-NO-CLSID", textOf(kSampleClass)); // one key too high
    for (const WrongCodec which :
         {WrongCodec::Unserved, WrongCodec::NotCreated, WrongCodec::NotACodec}) {
        SCOPED_TRACE(static_cast<int>(which));
        registerWrong(which);
        EXPECT_EQ("EZvUnknownEncoding: X-WRONG", served(u"X-WRONG"));
        registerName(u"CP932", classId(which));
        EXPECT_EQ("ASCII", servedForPage(932));
        EXPECT_EQ("ASCII", servedForPage(932));
    }
    for (const char16_t* name : {u"X-NO-CLASS", u"X-NO-LIBRARY", u"X-NO-GUID", u"X-EMPTY",
                                 u"X-NO-CLSID", u"", u"\\", u"a\\b"})
        EXPECT_EQ(errorOf([&] { throw EZvUnknownEncoding(CZvString(name)); }), served(name));
    const std::u16string longest(40000, u'x');
    EXPECT_TRUE(served(longest.c_str()).starts_with("EZvUnknownEncoding: xxx"));
}

TEST_F(ExternalCharset, FailsWithTheCodeOfARefusingComponent) {
    for (const WrongCodec which : {WrongCodec::RefusesName, WrongCodec::RefusesBytesPerChar,
                                   WrongCodec::RefusesCharsPerByte}) {
        SCOPED_TRACE(static_cast<int>(which));
        registerWrong(which);
        EXPECT_EQ("EZvResultException -77", served(u"X-WRONG"));
        registerName(u"CP932", classId(which));
        EXPECT_EQ("ASCII", servedForPage(932));
    }
    registerWrong(WrongCodec::NamesNothing);
    EXPECT_EQ("", served(u"X-WRONG"));
}

TEST_F(ExternalCharset, FailsWhenItsComponentThrows) {
    if (sizeof(void*) == 4)
        GTEST_SKIP() << "there an exception cannot pass from one library to another";
    registerWrong(WrongCodec::ThrowsAtBirth);
    EXPECT_EQ("EZvUnknownEncoding: X-WRONG", served(u"X-WRONG"));
    registerWrong(WrongCodec::ThrowsName);
    EXPECT_EQ("EZvResultException " + std::to_string(zv::core::kFail), served(u"X-WRONG"));
    registerWrong(WrongCodec::Misbehaves);
    char bytes[4] = {};
    EXPECT_EQ(4, CZvString(u"aTz").toBytes(bytes, 4, u"X-WRONG"));
    EXPECT_STREQ("a?z", bytes);
    EXPECT_EQ(u"a\uFFFD", CZvString::fromNarrow("aTz", -1, u"X-WRONG").view());
}

TEST_F(ExternalCharset, IsSizedByWhatItsComponentSays) {
    CZvRWByteBuffer bytes;
    const CZvString text(u"abc");
    for (const WrongCodec which : {WrongCodec::FactorsZero, WrongCodec::FactorsNegative}) {
        registerWrong(which); // room for the terminator alone
        text.getBytes(bytes, u"X-WRONG");
        EXPECT_EQ(1, bytes.getLength());
        EXPECT_EQ(u"", CZvString::fromNarrow("abc", -1, u"X-WRONG").view());
        EXPECT_EQ(u"abc", CZvString::fromNarrow("abc", -1, u"X-WRONG", 10).view());
    }
    registerWrong(WrongCodec::FactorsHuge);
    EXPECT_EQ(zv::core::kOutOfMemory, resultFrame([&] {
                  text.getBytes(bytes, u"X-WRONG");
                  return zv::core::kOk;
              }));
    EXPECT_EQ(zv::core::kOutOfMemory, resultFrame([&] {
                  return static_cast<ResultCode>(
                      CZvString::fromNarrow("abc", -1, u"X-WRONG").getLength());
              }));
}

TEST_F(ExternalCharset, SurvivesAComponentThatMisbehaves) {
    registerWrong(WrongCodec::Misbehaves);
    static const struct {
        const char* bytes;
        const char16_t* text;
        const char* error;
    } decoded[] = {
        {"aAz", u"a", ""}, // left behind, and dropped
        {"aBz", u"a", ""},
        {"aCz", u"a\uFFFD", ""},
        {"aDz", u"",
         "EZvInvalidCharacter: Invalid byte sequence (decoded chars in surrogate range)"},
        {"aEz", u"a\uFFFDz", ""},
        {"aFz", u"aFz", ""},
        {"aGz", u"a", ""},
    };
    for (const auto& row : decoded) {
        CZvString text;
        EXPECT_EQ(row.error,
                  errorOf([&] { text = CZvString::fromNarrow(row.bytes, -1, u"X-WRONG"); }))
            << row.bytes;
        EXPECT_EQ(row.text, text.view()) << row.bytes;
    }
    static const struct {
        const char16_t* text;
        const char* bytes;
    } encoded[] = {{u"aAz", "a?z"}, {u"aBz", "a?z"}, {u"aCz", "a?z"},       {u"aDz", "a?z"},
                   {u"aEz", "a?z"}, {u"aHz", "a?z"}, {u"aFGzFG", "aFGzFG"}, {u"Fz", "Fz"}};
    for (const auto& row : encoded) {
        CZvRWByteBuffer bytes;
        CZvString(row.text).getBytes(bytes, u"X-WRONG");
        EXPECT_STREQ(row.bytes, reinterpret_cast<const char*>(bytes.getBuffer()));
    }
}

} // namespace
