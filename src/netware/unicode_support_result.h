// What the server-side module finds out about Unicode, as it leaves it in a file: the header of a
// serialized object and a result code, 20 bytes.
#ifndef ZVSUPPORT_NETWARE_UNICODE_SUPPORT_RESULT_H
#define ZVSUPPORT_NETWARE_UNICODE_SUPPORT_RESULT_H

#include "core/result.h"
#include "io/input_stream.h"
#include "lang/guid.h"
#include "lang/ref.h"

namespace zv::netware {

class CUnicodeSupportResult {
public:
    static constexpr ZVCL::CZvGuid kVersion{u"{14064191-0D38-4817-8100-239421E44555}"};

    virtual ~CUnicodeSupportResult() = default;

    // Reads the object; what follows it in the stream is left there. Throws EZvException
    // "Serialized Object versions do not match.", EZvUnexpectedEOF, and what the stream throws.
    void Deserialize(const ZVCL::ZvRef<ZVCL::CZvInputStream>& stream);
    // kUnexpected until it has been read.
    core::ResultCode GetResult() const { return result; }

private:
    core::ResultCode result = core::kUnexpected;
};

} // namespace zv::netware

#endif
