// The end of a timed wait, on the clock that nobody sets.
#ifndef ZVSUPPORT_PLATFORM_POSIX_DEADLINE_H
#define ZVSUPPORT_PLATFORM_POSIX_DEADLINE_H

#include "platform/win32.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace zv::platform::posix {

class Deadline {
public:
    // Begins now. INFINITE_WAIT never ends.
    explicit Deadline(DWORD milliseconds)
        : endless(milliseconds == INFINITE_WAIT),
          end(std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)) {}

    bool passed() const { return !endless && std::chrono::steady_clock::now() >= end; }

    // The time left, at most `most` and never negative; rounded up, so that it ends no wait early.
    std::chrono::milliseconds left(std::chrono::milliseconds most) const {
        if (endless)
            return most;
        const auto rest =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        return std::clamp(rest, std::chrono::milliseconds(0), most);
    }

    // Waits until the condition holds; false when the deadline came first.
    template <typename Condition>
    bool wait(std::condition_variable& changed, std::unique_lock<std::mutex>& lock,
              Condition condition) const {
        if (!endless)
            return changed.wait_until(lock, end, condition);
        changed.wait(lock, condition);
        return true;
    }

private:
    bool endless;
    std::chrono::steady_clock::time_point end;
};

} // namespace zv::platform::posix

#endif
