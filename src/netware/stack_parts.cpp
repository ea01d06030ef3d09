#include "netware/stack_parts.h"

#include "lang/string.h"
#include "util/buffer_hold.h"

#include <algorithm>

namespace zv::netware {

void copyName(const char* text, std::size_t size, ZVCL::IZvCharBuffer& name) {
    const auto narrowLength = std::find(text, text + size, '\0') - text;
    const auto wide = ZVCL::CZvString::fromNarrow(text, static_cast<std::int32_t>(narrowLength));
    const std::int32_t length = wide.getLength();
    ZVCL::BufferWriteHold<char16_t> hold(name, length + 1);
    *std::copy_n(wide.getBuffer(), length, hold.data()) = u'\0';
    hold.finish(length);
}

SYSTEMTIME toSystemTime(const std::uint8_t (&time)[kLoginTimeSize]) {
    return {.wYear = static_cast<WORD>(1900 + time[0]),
            .wMonth = time[1],
            .wDayOfWeek = time[6],
            .wDay = time[2],
            .wHour = time[3],
            .wMinute = time[4],
            .wSecond = time[5],
            .wMilliseconds = 0};
}

ServerVersion versionIn(const std::uint8_t (&information)[kServerInformationSize]) {
    return {information[48], information[49], information[56]};
}

} // namespace zv::netware
