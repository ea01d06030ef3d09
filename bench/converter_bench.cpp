// The converters beside the C library's iconv and ICU, on one long text and on short ones.
//
// Each text is converted whole, by converters opened once; "PerString" opens one for each text, as
// the string class does. "plain" is ASCII, "mixed" has a character beyond ASCII at every eighth
// place, "dense" has hardly anything else. Charsets that lack those characters have plain alone.
#include "core/lifecycle.h"
#include "text/byte_to_char_converter.h"
#include "text/char_to_byte_converter.h"
#include "text/code_page_tables.h"

#include <benchmark/benchmark.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <cstdint>
#include <cstdlib>
#include <string>
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
        getConverter()->convert(text.chars.data(), in, size, output.data(), out, size);
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
        getConverter()->convert(text.bytes.data(), in, size, output.data(), out, size);
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

template <typename Body>
void add(const std::string& name, std::size_t characters, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        body(state);
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(characters));
    });
}

void addAll(const Charset& charset, const std::string& kind, std::size_t size, std::size_t every) {
    const Text text = makeText(charset, size, every);
    const std::string suffix = std::string("/") + charset.label + "/" + kind +
                               (size == kLong ? "/4M" : "/" + std::to_string(size));
    const char16_t* name = charset.name;
    add("encode" + suffix + "/ours", size, [=](benchmark::State& state) {
        const auto converter = CZvCharToByteConverter::getConverter(name);
        encodeOurs(state, text, [&] { return converter.get(); });
    });
    add("decode" + suffix + "/ours", size, [=](benchmark::State& state) {
        const auto converter = CZvByteToCharConverter::getConverter(name);
        decodeOurs(state, text, [&] { return converter.get(); });
    });
    for (const bool perString : {false, true}) {
        if (perString && size != kShort)
            continue;
        const std::string when = perString ? "PerString" : "";
        add("encode" + when + suffix + "/iconv", size, [=](benchmark::State& state) {
            throughIconv(state, charset.iconvName, "UTF-16LE", text.chars, text.bytes, perString);
        });
        add("encode" + when + suffix + "/icu", size,
            [=](benchmark::State& state) { encodeIcu(state, charset.icuName, text, perString); });
        add("decode" + when + suffix + "/iconv", size, [=](benchmark::State& state) {
            throughIconv(state, "UTF-16LE", charset.iconvName, text.bytes, text.chars, perString);
        });
        add("decode" + when + suffix + "/icu", size,
            [=](benchmark::State& state) { decodeIcu(state, charset.icuName, text, perString); });
    }
    if (size != kShort)
        return;
    add("encodePerString" + suffix + "/ours", size, [=](benchmark::State& state) {
        encodeOurs(state, text, [&] { return CZvCharToByteConverter::getConverter(name); });
    });
    add("decodePerString" + suffix + "/ours", size, [=](benchmark::State& state) {
        decodeOurs(state, text, [&] { return CZvByteToCharConverter::getConverter(name); });
    });
}

} // namespace

int main(int argc, char** argv) {
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    for (const Charset& charset : kCharsets) {
        for (const std::size_t size : {kLong, kShort}) {
            addAll(charset, "plain", size, 0);
            if (charset.plainOnly)
                continue;
            addAll(charset, "mixed", size, 8);
            addAll(charset, "dense", size, 1);
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
