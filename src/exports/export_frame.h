// The frame of the exported functions: nothing leaves the library but a result code.
#ifndef ZVSUPPORT_EXPORTS_EXPORT_FRAME_H
#define ZVSUPPORT_EXPORTS_EXPORT_FRAME_H

#include "core/lifecycle.h"
#include "core/result.h"
#include "lang/exception.h"

#include <utility>

// Gives a function its exported name to the outside, whatever the visibility of everything else.
#define ZV_EXPORT __attribute__((visibility("default")))

namespace zv::exports {

// Runs body in the class library's result-code frame, unless the library did not start: then it
// answers that failure's code and touches nothing.
template <typename Body>
core::ResultCode exportFrame(Body&& body) noexcept {
    if (const core::ResultCode started = core::CoreStartResult(); started < 0)
        return started;
    return ZVCL::resultFrame(std::forward<Body>(body));
}

} // namespace zv::exports

#endif
