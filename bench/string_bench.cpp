// Strings beside std::u16string: what copies, changes, searches, comparisons and hashes cost, and
// what a conversion in the default charset costs.
#include "core/lifecycle.h"
#include "lang/exception.h"
#include "lang/string.h"

#include <benchmark/benchmark.h>

#include <clocale>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using ZVCL::CZvString;

// The two kinds of string under one set of names.
struct Library {
    using String = CZvString;
    static String make(const std::u16string& text) { return CZvString(text); }
    static void append(String& string, char16_t ch) { string.replace(-1, 0, &ch, 1); }
    static void append(String& string, const std::u16string& block) {
        string.replace(-1, 0, block.data(), static_cast<std::int32_t>(block.size()));
    }
    static void change(String& string) { string.replaceFill(0, 1, 1, u'y'); }
    static bool has(const String& string, char16_t ch) { return string.indexOf(ch) >= 0; }
    static bool equal(const String& left, const String& right) { return left.equals(right, 0); }
    static int order(const String& left, const String& right) { return left.compare(right, 0); }
    static std::size_t hash(const String& string) { return string.hash(false); }
    static const char16_t* data(const String& string) { return string.getBuffer(); }
};

struct Standard {
    using String = std::u16string;
    static String make(const std::u16string& text) { return text; }
    static void append(String& string, char16_t ch) { string.push_back(ch); }
    static void append(String& string, const std::u16string& block) { string.append(block); }
    static void change(String& string) { string.replace(0, 1, 1, u'y'); }
    static bool has(const String& string, char16_t ch) { return string.find(ch) != String::npos; }
    static bool equal(const String& left, const String& right) { return left == right; }
    static int order(const String& left, const String& right) { return left.compare(right); }
    static std::size_t hash(const String& string) { return std::hash<String>()(string); }
    static const char16_t* data(const String& string) { return string.data(); }
};

std::u16string textOf(std::int64_t length) {
    std::u16string text;
    for (std::int64_t i = 0; i < length; ++i)
        text += static_cast<char16_t>(u'a' + i % 23);
    return text;
}

// The length of the texts is the benchmark's argument.
template <typename Kind>
void copy(benchmark::State& state) {
    const auto source = Kind::make(textOf(state.range(0)));
    for (auto unused : state) {
        auto copied = source;
        benchmark::DoNotOptimize(Kind::data(copied));
    }
}

template <typename Kind>
void copyThenChange(benchmark::State& state) {
    const auto source = Kind::make(textOf(state.range(0)));
    for (auto unused : state) {
        auto copied = source;
        Kind::change(copied);
        benchmark::DoNotOptimize(Kind::data(copied));
    }
}

// To 1000 characters, in blocks of the argument; 0 stands for the call that takes one character.
template <typename Kind>
void append(benchmark::State& state) {
    const std::u16string block = textOf(state.range(0));
    for (auto unused : state) {
        typename Kind::String string;
        if (block.empty()) {
            for (int i = 0; i < 1000; ++i)
                Kind::append(string, static_cast<char16_t>(u'a' + i % 16));
        } else {
            for (std::size_t i = 0; i < 1000; i += block.size())
                Kind::append(string, block);
        }
        benchmark::DoNotOptimize(Kind::data(string));
    }
}

template <typename Kind>
void findChar(benchmark::State& state) {
    const auto string = Kind::make(textOf(state.range(0)) + u"!");
    for (auto unused : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(Kind::has(string, u'!'));
    }
}

// A text of 8 characters at the end. The library's strings have no search for a text of their own:
// their users search in the view.
template <typename Kind>
void findText(benchmark::State& state) {
    const auto string = Kind::make(textOf(state.range(0)) + u"abcdefg!");
    for (auto unused : state) {
        std::u16string_view view;
        if constexpr (std::is_same_v<Kind, Library>)
            view = string.view();
        else
            view = string;
        benchmark::DoNotOptimize(view);
        benchmark::DoNotOptimize(view.find(u"abcdefg!"));
    }
}

template <typename Kind, bool same>
void equal(benchmark::State& state) {
    std::u16string text = textOf(state.range(0));
    const auto left = Kind::make(text);
    text.back() = same ? text.back() : u'#';
    const auto right = Kind::make(text);
    for (auto unused : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(Kind::equal(left, right));
    }
}

template <typename Kind, bool same>
void order(benchmark::State& state) {
    std::u16string text = textOf(state.range(0));
    const auto left = Kind::make(text);
    text.back() = same ? text.back() : u'#';
    const auto right = Kind::make(text);
    for (auto unused : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(Kind::order(left, right));
    }
}

template <typename Kind>
void hash(benchmark::State& state) {
    const auto string = Kind::make(textOf(state.range(0)));
    for (auto unused : state) {
        benchmark::ClobberMemory();
        benchmark::DoNotOptimize(Kind::hash(string));
    }
}

// In a locale whose code page the library serves itself, and in one where it asks for a component.
void fromNarrow(benchmark::State& state, const char* locale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, locale);
    benchmark::DoNotOptimize(CZvString::fromNarrow("some text", 9)); // the registry is opened
    for (auto unused : state)
        benchmark::DoNotOptimize(CZvString::fromNarrow("some text", 9));
    std::setlocale(LC_ALL, before.c_str());
}

// What a conversion in a charset that nobody knows costs: the registry is searched each time.
void fromUnknown(benchmark::State& state) {
    for (auto unused : state) {
        try {
            CZvString::fromNarrow("some text", 9, u"CP65001");
        } catch (const ZVCL::EZvUnknownEncoding&) {
        }
    }
}

void lengths(benchmark::internal::Benchmark* bench) {
    for (const int length : {10, 100, 1000})
        bench->Arg(length);
}

#define ZV_PAIR(function)                                                                          \
    BENCHMARK(function<Library>)->Name("CZvString/" #function)->Apply(lengths);                    \
    BENCHMARK(function<Standard>)->Name("u16string/" #function)->Apply(lengths)
#define ZV_PAIR_OF(function, same, name)                                                           \
    BENCHMARK(function<Library, same>)->Name("CZvString/" name)->Apply(lengths);                   \
    BENCHMARK(function<Standard, same>)->Name("u16string/" name)->Apply(lengths)

ZV_PAIR(copy);
ZV_PAIR(copyThenChange);
BENCHMARK(append<Library>)->Name("CZvString/append")->Arg(0)->Arg(1)->Arg(10)->Arg(100);
BENCHMARK(append<Standard>)->Name("u16string/append")->Arg(0)->Arg(1)->Arg(10)->Arg(100);
ZV_PAIR(findChar);
ZV_PAIR(findText);
ZV_PAIR_OF(equal, true, "equal");
ZV_PAIR_OF(equal, false, "unequalAtTheEnd");
ZV_PAIR_OF(order, true, "orderOfEqual");
ZV_PAIR_OF(order, false, "orderOfUnequalAtTheEnd");
ZV_PAIR(hash);
BENCHMARK_CAPTURE(fromNarrow, ownPage, "C");
BENCHMARK_CAPTURE(fromNarrow, otherPage, "C.UTF-8");
BENCHMARK(fromUnknown);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    benchmark::RunSpecifiedBenchmarks();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
