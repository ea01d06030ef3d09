// Whole migrations through the loaded library, beside a straight-line program that does the same
// work. Counters: the bytes handed to write calls over the final file's size.
#include "samples.h"
#include "straight_line.h"
#include "zvsupport/zvsupport.h"

#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <stdexcept>

namespace {

using namespace zv::bench;

// Loaded anew for each migration, so that each one opens its stores itself.
class Host {
public:
    Host() : module(dlopen(ZV_LIBRARY, RTLD_NOW)) {
        if (module == nullptr)
            throw std::runtime_error(dlerror());
        migrate = reinterpret_cast<decltype(&RegistryMigrate)>(dlsym(module, "RegistryMigrate"));
    }
    ~Host() { dlclose(module); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    decltype(&RegistryMigrate) migrate;

private:
    void* module;
};

void report(benchmark::State& state, std::int64_t written, const std::string& target) {
    state.SetItemsProcessed(state.iterations() * state.range(0));
    const auto size = static_cast<double>(readFile(target).size());
    state.counters["written/size"] = static_cast<double>(written) / size;
    state.counters["size"] = size;
}

void nativeToIni(benchmark::State& state) {
    const Folder folder;
    writeFile(folder.hive(), hiveText(state.range(0)));
    std::int64_t written = 0;
    for (auto unused : state) {
        state.PauseTiming();
        removeFile("zvregistry.ini");
        {
            const Host host;
            written = bytesWritten();
            state.ResumeTiming();
            if (host.migrate("NATIVE", 0, "INI", 0) != 0)
                state.SkipWithError("the migration failed");
            state.PauseTiming();
            written = bytesWritten() - written;
        }
        state.ResumeTiming();
    }
    report(state, written, "zvregistry.ini");
}

void iniToNative(benchmark::State& state) {
    const Folder folder;
    const std::string ini = iniText(state.range(0));
    std::int64_t written = 0;
    for (auto unused : state) {
        state.PauseTiming();
        removeFile(folder.hive());
        writeFile("zvregistry.ini", ini);
        {
            const Host host;
            written = bytesWritten();
            state.ResumeTiming();
            if (host.migrate("INI", 0, "NATIVE", 0) != 0)
                state.SkipWithError("the migration failed");
            state.PauseTiming();
            written = bytesWritten() - written;
        }
        state.ResumeTiming();
    }
    report(state, written, folder.hive());
}

void straightToIni(benchmark::State& state, bool flush) {
    const Folder folder;
    writeFile(folder.hive(), hiveText(state.range(0)));
    for (auto unused : state) {
        state.PauseTiming();
        removeFile("zvregistry.ini");
        state.ResumeTiming();
        straightHiveToIni(folder.hive(), "zvregistry.ini", flush);
    }
    report(state, 0, "zvregistry.ini");
}

void straightToHive(benchmark::State& state, bool flush) {
    const Folder folder;
    const std::string ini = iniText(state.range(0));
    for (auto unused : state) {
        state.PauseTiming();
        removeFile(folder.hive());
        writeFile("zvregistry.ini", ini);
        state.ResumeTiming();
        straightIniToHive("zvregistry.ini", folder.hive(), flush);
    }
    report(state, 0, folder.hive());
}

void sizes(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(10)->Range(1000, 100000)->Unit(benchmark::kMillisecond)->UseRealTime();
}

BENCHMARK(nativeToIni)->Apply(sizes);
BENCHMARK_CAPTURE(straightToIni, renamed, false)->Apply(sizes);
BENCHMARK_CAPTURE(straightToIni, flushed, true)->Apply(sizes);
BENCHMARK(iniToNative)->Apply(sizes);
BENCHMARK_CAPTURE(straightToHive, renamed, false)->Apply(sizes);
BENCHMARK_CAPTURE(straightToHive, flushed, true)->Apply(sizes);

} // namespace

BENCHMARK_MAIN();
