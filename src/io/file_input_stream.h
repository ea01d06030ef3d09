// Reads a file.
//
// Used by one thread at a time.
#ifndef ZVSUPPORT_IO_FILE_INPUT_STREAM_H
#define ZVSUPPORT_IO_FILE_INPUT_STREAM_H

#include "core/handle.h"
#include "io/input_stream.h"

namespace ZVCL {

// Failures of the file are EZvResultException with the mapped system error.
class CZvFileInputStream : public CZvInputStream {
public:
    // Opens an existing file, which others may read and write meanwhile. Throws EZvResultException:
    // kFileNotFound, kAccessDenied, kInvalidArgument for a path with a zero in it or of more than
    // 259 characters.
    explicit CZvFileInputStream(const CZvString& path);
    // Reads from an open handle. The stream closes it only if it owns it.
    CZvFileInputStream(zv::core::Handle handle, bool ownsHandle) noexcept;
    ~CZvFileInputStream() override; // closes; a failure is not reported

    using CZvInputStream::Read;
    // Throws kInvalidHandle when the stream is closed.
    std::int32_t Read(std::uint8_t* buffer, std::int32_t length) override;
    // Harmless the second time. When the system refuses to close the handle its code is thrown, and
    // the stream is closed all the same.
    void Close() override;

private:
    zv::core::Handle handle = zv::core::kNoHandle;
    bool ownsHandle = true;
};

} // namespace ZVCL

#endif
