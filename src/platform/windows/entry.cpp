// What unloading the DLL leaves to be done after DllMain has seen it go. Linked into the DLL alone.
#include "platform/windows/run_time_threads.h"

namespace __gnu_cxx {
// Frees the run-time's reserve for exceptions thrown without memory. The library carries the C++
// run-time inside, so nobody else gives the reserve back when the library is unloaded.
void __freeres();
} // namespace __gnu_cxx

namespace {

// Runs when the C run-time of the DLL ends: after DllMain, in the same thread.
__attribute__((destructor)) void releaseAll() {
    __gnu_cxx::__freeres();
    zv::platform::windows::releaseRunTimeThreads();
}

} // namespace
