#include "io/file_input_stream.h"

#include "core/files.h"
#include "lang/exception.h"
#include "platform/win32.h"
#include "util/buffer_hold.h"

#include <utility>

namespace ZVCL {

namespace core = zv::core;

CZvFileInputStream::CZvFileInputStream(const CZvString& path) {
    // Cut at the zero it would name another file.
    if (path.view().find(u'\0') != std::u16string_view::npos)
        throwResult(core::kInvalidArgument);
    const BufferReadHold<char16_t> text(path);
    throwIfFailed(core::ZvFileOpen(text.data(), core::kFileRead, 0700, handle));
}

CZvFileInputStream::CZvFileInputStream(core::Handle file, bool owned) noexcept
    : handle(file), ownsHandle(owned) {}

CZvFileInputStream::~CZvFileInputStream() {
    try {
        CZvFileInputStream::Close();
    } catch (...) {
        // A destructor has nobody to tell.
    }
}

std::int32_t CZvFileInputStream::Read(std::uint8_t* buffer, std::int32_t length) {
    const DWORD wanted = length > 0 ? static_cast<DWORD>(length) : 0;
    DWORD read = 0;
    if (ReadFile(reinterpret_cast<HANDLE>(handle), buffer, wanted, &read, nullptr) == 0) {
        const DWORD error = GetLastError();
        if (error == ERROR_HANDLE_EOF)
            return -1;
        const ResultCode code = core::ResultFromWin32Error(error);
        throwResult(code < 0 ? code : core::kFail);
    }
    return read != 0 || wanted == 0 ? static_cast<std::int32_t>(read) : -1;
}

void CZvFileInputStream::Close() {
    const core::Handle closed = std::exchange(handle, core::kNoHandle);
    if (ownsHandle && closed != core::kNoHandle)
        throwIfFailed(core::ZvFileClose(closed));
}

} // namespace ZVCL
