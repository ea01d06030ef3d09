// One change to a large store, and opening one, each beside the bare file work it cannot go below.
#include "core/lifecycle.h"
#include "core/registry/ini_reg_key.h"
#include "core/registry/registry_module.h"
#include "core/wide_calls.h"
#include "platform/posix/registry.h"
#include "samples.h"

#include <benchmark/benchmark.h>

#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

using namespace zv::bench;
using namespace zv::core;

constexpr std::uint32_t kMachine = HKEY_LOCAL_MACHINE_VALUE;
constexpr const char16_t* kKey = u"Software\\Product\\Group050\\Key05000";

// A text that is new each time, so that every write is a change.
std::u16string freshText() {
    static int count = 0;
    std::u16string text = u"fresh text ";
    for (const char c : std::to_string(++count))
        text += static_cast<char16_t>(c);
    return text;
}

void iniSetValue(benchmark::State& state) {
    const Folder folder;
    writeFile("zvregistry.ini", iniText(state.range(0)));
    registry::Initialize();
    {
        const auto key = makeCoreRef<CIniRegKey>(kMachine, u"");
        for (auto unused : state) {
            const std::u16string text = freshText();
            const auto size = static_cast<std::uint32_t>((text.size() + 1) * 2);
            if (key->setValue(kMachine, kKey, u"fresh", 0, text.c_str(), size) != 0)
                state.SkipWithError("the write failed");
        }
    }
    registry::Terminate();
}

void writeFileOnce(benchmark::State& state, bool flush) {
    const Folder folder;
    const std::string bytes = iniText(state.range(0));
    for (auto unused : state) {
        const int file = open("zvregistry.new", O_WRONLY | O_CREAT | O_TRUNC, 0600);
        if (write(file, bytes.data(), bytes.size()) < 0 || (flush && fsync(file) != 0))
            state.SkipWithError("the write failed");
        close(file);
        rename("zvregistry.new", "zvregistry.ini");
    }
}

void hiveSetValue(benchmark::State& state) {
    const Folder folder;
    writeFile(folder.hive(), hiveText(state.range(0)));
    zv::platform::posix::closeRegistry();
    HKEY key = nullptr;
    g_wideCalls.RegOpenKeyExW(RootKeyFromValue(kMachine), kKey, 0, KEY_ALL_ACCESS, &key);
    for (auto unused : state) {
        const std::u16string text = freshText();
        if (g_wideCalls.RegSetValueExW(key, u"fresh", 0, REG_SZ,
                                       reinterpret_cast<const BYTE*>(text.c_str()),
                                       static_cast<DWORD>((text.size() + 1) * 2)) != 0)
            state.SkipWithError("the write failed");
    }
    RegCloseKey(key);
    zv::platform::posix::closeRegistry();
}

void bareAppend(benchmark::State& state) {
    const Folder folder;
    writeFile("journal", hiveText(state.range(0)));
    const int file = open("journal", O_WRONLY | O_APPEND);
    const std::string record(180, 'x'); // about a record's size
    for (auto unused : state)
        benchmark::DoNotOptimize(write(file, record.data(), record.size()));
    close(file);
}

void openHive(benchmark::State& state) {
    const Folder folder;
    writeFile(folder.hive(), hiveText(state.range(0)));
    for (auto unused : state) {
        zv::platform::posix::closeRegistry();
        HKEY key = nullptr;
        if (g_wideCalls.RegOpenKeyExW(RootKeyFromValue(kMachine), kKey, 0, KEY_READ, &key) != 0)
            state.SkipWithError("the key is not there");
        RegCloseKey(key);
    }
    zv::platform::posix::closeRegistry();
}

void readBytes(benchmark::State& state) {
    const Folder folder;
    const std::string text = hiveText(state.range(0));
    writeFile(folder.hive(), text);
    for (auto unused : state) {
        std::string bytes(text.size(), '\0');
        const int file = open(folder.hive().c_str(), O_RDONLY);
        benchmark::DoNotOptimize(read(file, bytes.data(), bytes.size()));
        close(file);
    }
}

void large(benchmark::internal::Benchmark* bench) {
    bench->Arg(100000)->Unit(benchmark::kMicrosecond)->UseRealTime();
}

BENCHMARK(iniSetValue)->Apply(large);
BENCHMARK_CAPTURE(writeFileOnce, renamed, false)->Apply(large);
BENCHMARK_CAPTURE(writeFileOnce, flushed, true)->Apply(large);
BENCHMARK(hiveSetValue)->Apply(large);
BENCHMARK(bareAppend)->Apply(large);
BENCHMARK(openHive)->Apply(large);
BENCHMARK(readBytes)->Apply(large);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    benchmark::RunSpecifiedBenchmarks();
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
}
