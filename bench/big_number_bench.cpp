// Big integers beside boost::multiprecision::cpp_int, at 64, 1,024 and 16,384 bits. The results are
// compared first.
#include "core/lifecycle.h"
#include "lang/big_integer.h"
#include "lang/string.h"

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/multiprecision/cpp_int.hpp>

namespace {

using boost::multiprecision::cpp_int;
using ZVCL::CZvBigInteger;
using ZVCL::CZvString;

struct Number {
    explicit Number(std::vector<std::uint8_t> bytes) {
        ours.assignBytes(bytes.data(), static_cast<std::int32_t>(bytes.size()), false);
        import_bits(theirs, bytes.begin(), bytes.end(), 8, false);
        narrow = theirs.str();
        wide = std::u16string(narrow.begin(), narrow.end());
    }
    CZvBigInteger ours;
    cpp_int theirs;
    std::string narrow;
    std::u16string wide;
};

Number randomNumber(std::int64_t bits, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes;
    for (std::int64_t i = 0; i < bits / 8; ++i)
        bytes.push_back(static_cast<std::uint8_t>(random() | 0x80));
    return Number(bytes);
}

std::string textOf(const CZvBigInteger& number) {
    const CZvString text = number.toString();
    return std::string(text.view().begin(), text.view().end());
}

void check(const CZvBigInteger& ours, const cpp_int& theirs) {
    if (textOf(ours) != theirs.str()) {
        std::fputs("the results differ\n", stderr);
        std::abort();
    }
}

// What is done to a copy of the first operand; the division is of twice the bits by the bits.
enum Operation { Add, Multiply, Divide };

template <Operation operation>
void ours(benchmark::State& state) {
    const Number b = randomNumber(state.range(0), 2);
    const Number a = randomNumber(operation == Divide ? 2 * state.range(0) : state.range(0), 1);
    CZvBigInteger result, rest;
    const auto run = [&] {
        result.assign(a.ours);
        if constexpr (operation == Add)
            result.add(b.ours);
        else if constexpr (operation == Multiply)
            result.multiply(b.ours);
        else
            result.divide(b.ours, rest);
    };
    run();
    check(result, operation == Add        ? cpp_int(a.theirs + b.theirs)
                  : operation == Multiply ? cpp_int(a.theirs * b.theirs)
                                          : cpp_int(a.theirs / b.theirs));
    for (auto _ : state) {
        run();
        benchmark::DoNotOptimize(result.getBytes());
    }
}

template <Operation operation>
void boosts(benchmark::State& state) {
    const Number b = randomNumber(state.range(0), 2);
    const Number a = randomNumber(operation == Divide ? 2 * state.range(0) : state.range(0), 1);
    cpp_int result, rest;
    for (auto _ : state) {
        if constexpr (operation == Divide) {
            divide_qr(a.theirs, b.theirs, result, rest);
        } else {
            result = a.theirs;
            if constexpr (operation == Add)
                result += b.theirs;
            else
                result *= b.theirs;
        }
        benchmark::DoNotOptimize(result);
    }
}

void oursToText(benchmark::State& state) {
    const Number a = randomNumber(state.range(0), 1);
    check(a.ours, a.theirs);
    for (auto _ : state)
        benchmark::DoNotOptimize(a.ours.toString().getBuffer());
}
void boostsToText(benchmark::State& state) {
    const Number a = randomNumber(state.range(0), 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(a.theirs.str());
}
void oursFromText(benchmark::State& state) {
    const Number a = randomNumber(state.range(0), 1);
    const CZvString text(a.wide);
    check(CZvBigInteger(text), a.theirs);
    for (auto _ : state)
        benchmark::DoNotOptimize(CZvBigInteger(text).getBytes());
}
void boostsFromText(benchmark::State& state) {
    const Number a = randomNumber(state.range(0), 1);
    for (auto _ : state)
        benchmark::DoNotOptimize(cpp_int(a.narrow));
}

#define ZV_SIZES Arg(64)->Arg(1024)->Arg(16384)
BENCHMARK(ours<Add>)->Name("add/ours")->ZV_SIZES;
BENCHMARK(boosts<Add>)->Name("add/boost")->ZV_SIZES;
BENCHMARK(ours<Multiply>)->Name("multiply/ours")->ZV_SIZES;
BENCHMARK(boosts<Multiply>)->Name("multiply/boost")->ZV_SIZES;
BENCHMARK(ours<Divide>)->Name("divide/ours")->ZV_SIZES;
BENCHMARK(boosts<Divide>)->Name("divide/boost")->ZV_SIZES;
BENCHMARK(oursToText)->Name("toDecimal/ours")->ZV_SIZES;
BENCHMARK(boostsToText)->Name("toDecimal/boost")->ZV_SIZES;
BENCHMARK(oursFromText)->Name("fromDecimal/ours")->ZV_SIZES;
BENCHMARK(boostsFromText)->Name("fromDecimal/boost")->ZV_SIZES;

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    benchmark::RunSpecifiedBenchmarks();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
