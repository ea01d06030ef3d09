// Loading and unloading the library, with all its start-up, beside an empty shared library.
#include <benchmark/benchmark.h>

#include <dlfcn.h>

namespace {

void loadAndUnload(benchmark::State& state, const char* path) {
    for (auto unused : state) {
        void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            state.SkipWithError(dlerror());
            break;
        }
        dlclose(module);
    }
}

BENCHMARK_CAPTURE(loadAndUnload, empty, ZV_EMPTY_LIBRARY)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(loadAndUnload, zvsupport, ZV_LIBRARY)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
