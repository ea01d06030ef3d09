// The wide-call table's second column: each entry converts its text and calls the narrow function.
#ifndef ZVSUPPORT_CORE_WIDE_FALLBACKS_H
#define ZVSUPPORT_CORE_WIDE_FALLBACKS_H

#include "core/wide_calls.h"

namespace zv::core {

WideCalls narrowFallbacks();

} // namespace zv::core

#endif
