#include "core/result.h"

#include "platform/win32.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

TEST(ResultFromWin32Error, MapsTheNumbersThatHaveACode) {
    struct Row {
        std::uint32_t error;
        std::uint32_t code;
    };
    constexpr Row rows[] = {
        {0, 0},           {2, 0x80070002},    {3, 0x80070002},          {5, 0x80070005},
        {6, 0x80070006},  {14, 0x8007000E},   {183, 0x800700B7},        {1, 0x80004005},
        {87, 0x80004005}, {1460, 0x80004005}, {0xFFFFFFFF, 0x80004005},
    };
    for (const Row& row : rows)
        EXPECT_EQ(ResultFromWin32Error(row.error), resultFromBits(row.code)) << row.error;
}

TEST(CoreFrame, TurnsWhateverIsThrownIntoACode) {
    EXPECT_EQ(coreFrame([] { return ResultCode{7}; }), 7);
    EXPECT_EQ(coreFrame([]() -> ResultCode { throw EZvCoreException(kAccessDenied); }),
              kAccessDenied);
    EXPECT_EQ(coreFrame([]() -> ResultCode { throw std::bad_alloc(); }), kOutOfMemory);
    EXPECT_EQ(coreFrame([]() -> ResultCode { throw std::runtime_error("x"); }), kFail);
    EXPECT_EQ(coreFrame([]() -> ResultCode { throw 5; }), kFail);
}

TEST(ThrowLastError, NeverThrowsSuccess) {
    struct Row {
        DWORD error;
        ResultCode code;
    };
    for (const Row& row : {Row{ERROR_ACCESS_DENIED, kAccessDenied}, Row{0, kFail}}) {
        SetLastError(row.error);
        EXPECT_EQ(coreFrame([]() -> ResultCode { throwLastError(); }), row.code);
    }
}

} // namespace
} // namespace zv::core
