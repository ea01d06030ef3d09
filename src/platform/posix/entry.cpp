// The loader's side of the library on Linux: attach when it is loaded, detach when it is unloaded.
// Linked into the shared library alone; programs with the library inside start it themselves.
#include "core/lifecycle.h"

#include "platform/posix/teardown.h"

namespace __gnu_cxx {
// Frees the run-time's reserve for exceptions thrown without memory. The library carries the C++
// run-time inside, so nobody else gives the reserve back when the library is unloaded.
void __freeres() __attribute__((weak));
} // namespace __gnu_cxx

namespace {

__attribute__((constructor)) void attach() {
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
}

// Runs before the destructors of static objects, of which the library has none.
__attribute__((destructor)) void detach() {
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    zv::platform::posix::releaseAll();
    if (__gnu_cxx::__freeres != nullptr)
        __gnu_cxx::__freeres();
}

} // namespace
