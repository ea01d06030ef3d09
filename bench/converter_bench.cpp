// The converters beside the C library's iconv and ICU, on one long text and on short ones.
//
// Each text is converted whole, by converters opened once; "PerString" opens one for each text, as
// the string class does. "plain" is ASCII, "mixed" has a character beyond ASCII at every eighth
// place, "dense" has hardly anything else. Charsets that lack those characters have plain alone.
// The Unicode charsets have texts of their own: "ascii", "european" (words of Latin letters, one in
// seven of them accented, and some of Greek or Cyrillic ones), "chinese" and "emoji". For UTF-8,
// "icustr" are ICU's functions for whole strings.
#include "core/lifecycle.h"
#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"
#include "text/code_page_tables.h"

#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace ZVCL;

namespace {

constexpr std::size_t kLong = 4 << 20;
constexpr std::size_t kShort = 24;

struct Charset {
    const char* label;
    const char16_t* name;
    const char* iconvName;
    const char* icuName;
    const ByteToCharTable* table; // null: the identity
    bool plainOnly;
};
constexpr Charset kCharsets[] = {
    {"CP1252", u"CP1252", "CP1252", "windows-1252", &kCp1252Chars, false},
    {"CP437", u"CP437", "CP437", "ibm-437_P100-1995", &kCp437Chars, false},
    {"ISO8859_1", u"ISO8859_1", "ISO-8859-1", "ISO-8859-1", nullptr, false},
    {"ASCII", u"ASCII", "ASCII", "US-ASCII", nullptr, true},
};

constexpr Charset kUnicodeCharsets[] = {
    {"UTF-8", u"UTF-8", "UTF-8", "UTF-8", nullptr, false},
    {"UTF-16LE", u"UTF-16LE", "UTF-16LE", "UTF-16LE", nullptr, false},
    {"UTF-16BE", u"UTF-16BE", "UTF-16BE", "UTF-16BE", nullptr, false},
    {"UTF-32LE", u"UTF-32LE", "UTF-32LE", "UTF-32LE", nullptr, false},
    {"UTF-32BE", u"UTF-32BE", "UTF-32BE", "UTF-32BE", nullptr, false},
};

struct Text {
    std::vector<std::uint8_t> bytes;
    std::vector<char16_t> chars;
};

// What the peers map otherwise, or not at all: the undefined bytes of 1252 and the micro sign of
// 437.
bool isContested(std::uint8_t byte) {
    return byte == 0x81 || byte == 0x8D || byte == 0x8F || byte == 0x90 || byte == 0x9D ||
           byte == 0xE6;
}

// `every`: one byte in that many lies beyond ASCII; 0: none does.
Text makeText(const Charset& charset, std::size_t size, std::size_t every) {
    Text text;
    std::uint32_t random = 1;
    for (std::size_t i = 0; i < size; ++i) {
        random = random * 1664525 + 1013904223;
        std::uint8_t byte = static_cast<std::uint8_t>(0x20 + (random >> 24) % 0x5F);
        if (every != 0 && i % every == every - 1)
            byte = static_cast<std::uint8_t>(0x80 + (random >> 24) % 0x80);
        if (isContested(byte))
            byte = 0xE9;
        text.bytes.push_back(byte);
        text.chars.push_back(charset.table != nullptr ? charset.table->chars[byte] : byte);
    }
    return text;
}

// `size` units, no pair torn.
std::vector<char16_t> makeUnicodeChars(std::string_view kind, std::size_t size) {
    constexpr std::u16string_view kLatin = u"eeeeeaaaaiiinnnrrrssstttoollldduummccpghbfvkzjwyxq";
    constexpr std::u16string_view kAccented =
        u"\u00E9\u00E8\u00E0\u00E2\u00E7\u00F6\u00E4\u00FC\u00DF"
        u"\u00F1\u00ED\u00F3\u0161\u010D\u017E\u0142";
    std::mt19937 random(1);
    std::vector<char16_t> chars;
    const auto below = [&](std::uint32_t limit) { return random() % limit; };
    const auto add = [&](std::uint32_t unit) { chars.push_back(static_cast<char16_t>(unit)); };
    const auto addEuropeanWord = [&] {
        const std::uint32_t script = below(12);
        for (std::uint32_t letters = 1 + below(5) + below(6); letters > 0; --letters) {
            if (script == 0)
                add(0x03B1 + below(24)); // Greek
            else if (script == 1)
                add(0x0430 + below(32)); // Cyrillic
            else if (below(7) == 0)
                add(kAccented[below(static_cast<std::uint32_t>(kAccented.size()))]);
            else
                add(kLatin[below(static_cast<std::uint32_t>(kLatin.size()))]);
        }
        if (below(8) == 0)
            add(u',');
        add(u' ');
    };
    const auto addChinese = [&] {
        const std::uint32_t choice = below(60);
        if (choice < 4)
            add(choice < 3 ? 0xFF0C : 0x3002);
        else if (choice < 6)
            add(u'0' + below(10));
        else
            add(0x4E00 + below(0x51A6));
    };
    const auto addEmoji = [&] {
        add(0xD83D);
        add(0xDC00 + below(0x250));
        const std::uint32_t choice = below(12);
        if (choice == 0)
            add(0xFE0F);
        else if (choice == 1)
            add(u' ');
    };
    while (chars.size() < size) {
        if (kind == "ascii")
            add(0x20 + below(0x5F));
        else if (kind == "european")
            addEuropeanWord();
        else if (kind == "chinese")
            addChinese();
        else
            addEmoji();
    }
    chars.resize(size);
    if (chars.back() >= 0xD800 && chars.back() <= 0xDBFF)
        chars.back() = u' ';
    return chars;
}

// The bytes are the library's own; that the peers come to the same ones is checked.
Text makeUnicodeText(const Charset& charset, std::string_view kind, std::size_t size) {
    Text text;
    text.chars = makeUnicodeChars(kind, size);
    text.bytes.resize(4 * size);
    std::int32_t in = 0, out = 0;
    CZvCharToByteConverter::getConverter(charset.name)
        ->convert(text.chars.data(), in, static_cast<std::int32_t>(size), text.bytes.data(), out,
                  static_cast<std::int32_t>(text.bytes.size()));
    text.bytes.resize(static_cast<std::size_t>(out));
    return text;
}

void require(bool condition, benchmark::State& state) {
    if (!condition)
        state.SkipWithError("not everything was converted");
}

template <typename GetConverter>
void encodeOurs(benchmark::State& state, const Text& text, GetConverter getConverter) {
    const std::int32_t size = static_cast<std::int32_t>(text.chars.size());
    std::vector<std::uint8_t> output(text.bytes.size());
    for (auto _ : state) {
        std::int32_t in = 0, out = 0;
        getConverter()->convert(text.chars.data(), in, size, output.data(), out,
                                static_cast<std::int32_t>(output.size()));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    require(output == text.bytes, state);
}

template <typename GetConverter>
void decodeOurs(benchmark::State& state, const Text& text, GetConverter getConverter) {
    const std::int32_t size = static_cast<std::int32_t>(text.bytes.size());
    std::vector<char16_t> output(text.chars.size());
    for (auto _ : state) {
        std::int32_t in = 0, out = 0;
        getConverter()->convert(text.bytes.data(), in, size, output.data(), out,
                                static_cast<std::int32_t>(output.size()));
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    require(output == text.chars, state);
}

template <typename From, typename To>
void throughIconv(benchmark::State& state, const char* to, const char* from,
                  const std::vector<From>& input, const std::vector<To>& expected, bool perString) {
    iconv_t converter = iconv_open(to, from);
    std::vector<To> output(expected.size());
    for (auto _ : state) {
        char* in = reinterpret_cast<char*>(const_cast<From*>(input.data()));
        char* out = reinterpret_cast<char*>(output.data());
        if (perString) {
            iconv_close(converter);
            converter = iconv_open(to, from);
        }
        std::size_t inLeft = input.size() * sizeof(From), outLeft = output.size() * sizeof(To);
        iconv(converter, &in, &inLeft, &out, &outLeft);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    iconv_close(converter);
    require(output == expected, state);
}

void encodeIcu(benchmark::State& state, const char* name, const Text& text, bool perString) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &error);
    std::vector<std::uint8_t> output(text.bytes.size());
    for (auto _ : state) {
        const UChar* in = text.chars.data();
        char* out = reinterpret_cast<char*>(output.data());
        error = U_ZERO_ERROR;
        if (perString) {
            ucnv_close(converter);
            converter = ucnv_open(name, &error);
        }
        ucnv_fromUnicode(converter, &out, out + output.size(), &in, in + text.chars.size(), nullptr,
                         true, &error);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    ucnv_close(converter);
    require(output == text.bytes, state);
}

void decodeIcu(benchmark::State& state, const char* name, const Text& text, bool perString) {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &error);
    std::vector<char16_t> output(text.chars.size());
    for (auto _ : state) {
        const char* in = reinterpret_cast<const char*>(text.bytes.data());
        UChar* out = output.data();
        error = U_ZERO_ERROR;
        if (perString) {
            ucnv_close(converter);
            converter = ucnv_open(name, &error);
        }
        ucnv_toUnicode(converter, &out, out + output.size(), &in, in + text.bytes.size(), nullptr,
                       true, &error);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    ucnv_close(converter);
    require(output == text.chars, state);
}

void encodeIcuString(benchmark::State& state, const Text& text) {
    std::vector<std::uint8_t> output(text.bytes.size());
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        u_strToUTF8(reinterpret_cast<char*>(output.data()),
                    static_cast<std::int32_t>(output.size()), nullptr, text.chars.data(),
                    static_cast<std::int32_t>(text.chars.size()), &error);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    require(output == text.bytes, state);
}

void decodeIcuString(benchmark::State& state, const Text& text) {
    std::vector<char16_t> output(text.chars.size());
    for (auto _ : state) {
        UErrorCode error = U_ZERO_ERROR;
        u_strFromUTF8(output.data(), static_cast<std::int32_t>(output.size()), nullptr,
                      reinterpret_cast<const char*>(text.bytes.data()),
                      static_cast<std::int32_t>(text.bytes.size()), &error);
        benchmark::DoNotOptimize(output.data());
        benchmark::ClobberMemory();
    }
    require(output == text.chars, state);
}

template <typename Body>
void add(const std::string& name, std::size_t characters, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        body(state);
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(characters));
    });
}

void addAll(const Charset& charset, const std::string& kind, std::size_t size, Text made) {
    const auto text = std::make_shared<const Text>(std::move(made)); // for all of them
    const std::string suffix = std::string("/") + charset.label + "/" + kind +
                               (size == kLong ? "/4M" : "/" + std::to_string(size));
    const char16_t* name = charset.name;
    add("encode" + suffix + "/ours", size, [=](benchmark::State& state) {
        const auto converter = CZvCharToByteConverter::getConverter(name);
        encodeOurs(state, *text, [&] { return converter.get(); });
    });
    add("decode" + suffix + "/ours", size, [=](benchmark::State& state) {
        const auto converter = CZvByteToCharConverter::getConverter(name);
        decodeOurs(state, *text, [&] { return converter.get(); });
    });
    for (const bool perString : {false, true}) {
        if (perString && size != kShort)
            continue;
        const std::string when = perString ? "PerString" : "";
        add("encode" + when + suffix + "/iconv", size, [=](benchmark::State& state) {
            throughIconv(state, charset.iconvName, "UTF-16LE", text->chars, text->bytes, perString);
        });
        add("encode" + when + suffix + "/icu", size,
            [=](benchmark::State& state) { encodeIcu(state, charset.icuName, *text, perString); });
        add("decode" + when + suffix + "/iconv", size, [=](benchmark::State& state) {
            throughIconv(state, "UTF-16LE", charset.iconvName, text->bytes, text->chars, perString);
        });
        add("decode" + when + suffix + "/icu", size,
            [=](benchmark::State& state) { decodeIcu(state, charset.icuName, *text, perString); });
    }
    if (suffix.starts_with("/UTF-8/")) {
        add("encode" + suffix + "/icustr", size,
            [=](benchmark::State& state) { encodeIcuString(state, *text); });
        add("decode" + suffix + "/icustr", size,
            [=](benchmark::State& state) { decodeIcuString(state, *text); });
    }
    if (size != kShort)
        return;
    add("encodePerString" + suffix + "/ours", size, [=](benchmark::State& state) {
        encodeOurs(state, *text, [&] { return CZvCharToByteConverter::getConverter(name); });
    });
    add("decodePerString" + suffix + "/ours", size, [=](benchmark::State& state) {
        decodeOurs(state, *text, [&] { return CZvByteToCharConverter::getConverter(name); });
    });
}

} // namespace

int main(int argc, char** argv) {
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    for (const Charset& charset : kCharsets) {
        for (const std::size_t size : {kLong, kShort}) {
            addAll(charset, "plain", size, makeText(charset, size, 0));
            if (charset.plainOnly)
                continue;
            addAll(charset, "mixed", size, makeText(charset, size, 8));
            addAll(charset, "dense", size, makeText(charset, size, 1));
        }
    }
    for (const Charset& charset : kUnicodeCharsets) {
        for (const std::size_t size : {kLong, kShort}) {
            for (const char* kind : {"ascii", "european", "chinese", "emoji"})
                addAll(charset, kind, size, makeUnicodeText(charset, kind, size));
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
