// Failing and dying file calls for the tests of the registry file and the migration.
#ifndef ZVSUPPORT_TESTS_PLATFORM_FAULT_HOOKS_H
#define ZVSUPPORT_TESTS_PLATFORM_FAULT_HOOKS_H

#include "platform/posix/file_seam.h"

#include <cstddef>
#include <cstdint>

namespace zv::test {

namespace seam = platform::posix::seam;

struct Fault {
    int at = 0;            // counts down; the call that meets 1 is the one
    int error = 0;         // errno; 0: the process ends
    bool on = false;       // the later calls fail too
    std::size_t limit = 0; // bytes that a write moves before it fails or the process ends
};
inline Fault fault;

inline seam::Verdict meetFault(seam::FileCall call, const char*) {
    seam::Verdict verdict;
    --fault.at;
    if (fault.at > 0 || (fault.at < 0 && !fault.on))
        return verdict;
    const bool cuts = call == seam::FileCall::Write || fault.limit == 0;
    verdict.error = fault.error;
    verdict.exitAfter = fault.error == 0;
    verdict.limit = cuts ? fault.limit : SIZE_MAX;
    return verdict;
}

// Sets the hook for a scope. reached() tells whether the call was ever made.
class FaultHold {
public:
    explicit FaultHold(const Fault& next) {
        fault = next;
        seam::setHook(meetFault);
    }
    ~FaultHold() { seam::setHook(nullptr); }
    FaultHold(const FaultHold&) = delete;
    FaultHold& operator=(const FaultHold&) = delete;

    bool reached() const { return fault.at <= 0; }
};

} // namespace zv::test

#endif
