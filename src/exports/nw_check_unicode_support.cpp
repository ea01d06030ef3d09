#include "zvsupport/zvsupport.h"

#include "core/result.h"
#include "exports/export_frame.h"
#include "netware/unicode_check.h"

ZV_EXPORT int32_t ZV_STDCALL NWCheckUnicodeSupport(const char* drive) {
    return zv::exports::exportFrame([&] {
        return drive == nullptr ? zv::core::kInvalidArgument
                                : zv::netware::checkUnicodeSupport(drive);
    });
}
