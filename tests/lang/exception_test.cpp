#include "lang/exception.h"

#include "lang/class.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;

template <typename Exception>
class Family : public testing::Test {};

using Defaults = testing::Types<
    EZvException, EZvCastFailed, EZvClassNotFound, EZvCloneNotSupported, EZvIllegalAccess,
    EZvIllegalState, EZvInvalidCharacter, EZvInvalidPath, EZvIOError, EZvIOTimeout, EZvOutOfMemory,
    EZvRangeError, EZvReadOnly, EZvUnexpectedEOF, EZvUnknownEncoding, EZvUnmappableCharacter,
    EZvUnsupportedOperation, EZvExternal, EZvIntError, EZvIntDivByZero, EZvIntOverflow>;
TYPED_TEST_SUITE(Family, Defaults);

TYPED_TEST(Family, IsEmptyByDefaultAndKeepsItsTypeWhenThrown) {
    const bool outOfMemory = std::is_same_v<TypeParam, EZvOutOfMemory>;
    try {
        throw TypeParam();
    } catch (EZvException& exception) {
        EXPECT_EQ(exception.getMessage().getLength(), 0);
        EXPECT_EQ(exception.getResult(), outOfMemory ? core::kOutOfMemory : core::kFail);
        EXPECT_EQ(typeid(exception), typeid(TypeParam));
        EXPECT_EQ(&exception.getClass(), CZvClass::forType(typeid(TypeParam)).get());
        EXPECT_THROW((void)exception.clone(), EZvCloneNotSupported);
    }
    constexpr bool takesMessage = std::is_constructible_v<TypeParam, CZvString>;
    const char16_t* withMessage[] = {u"EZvException",        u"EZvClassNotFound", u"EZvInvalidPath",
                                     u"EZvInvalidCharacter", u"EZvIOError",       u"EZvRangeError",
                                     u"EZvUnknownEncoding"};
    const std::u16string name = CZvClass::forType(typeid(TypeParam))->getName();
    EXPECT_EQ(takesMessage, std::count(std::begin(withMessage), std::end(withMessage), name) == 1);
}

TEST(Exception, CopiesCarryMessageAndCode) {
    std::unique_ptr<EZvResultException> copy;
    try {
        throw EZvResultException(core::kAccessDenied, CZvString(u"a message"));
    } catch (EZvResultException& exception) {
        EXPECT_EQ(exception.AddRef(), 1u);
        copy = std::make_unique<EZvResultException>(exception);
    }
    EXPECT_EQ(copy->getResult(), core::kAccessDenied);
    EXPECT_EQ(copy->getMessage().view(), u"a message");
    EXPECT_EQ(copy->AddRef(), 1u); // counts from its own beginning
    EZvInvalidPath assigned;
    assigned = EZvInvalidPath(CZvString(u"no share name"));
    EXPECT_EQ(assigned.getMessage().view(), u"no share name");
    EZvIntOverflow external;
    EXPECT_EQ(external.externalCode, 0u);
    external.externalCode = 7;
    EXPECT_EQ(EZvIntOverflow(external).externalCode, 7u);
    EXPECT_THROW(CZvClass::forType(typeid(EZvResultException)), EZvClassNotFound);
}

TEST(Exception, OutOfMemoryIsAnAllocationFailureToo) {
    try {
        throw EZvOutOfMemory();
    } catch (std::bad_alloc& exception) {
        EXPECT_STREQ(exception.what(), "bad allocation");
    }
}

TEST(ResultFrame, TurnsWhateverIsThrownIntoACode) {
    using Body = ResultCode (*)();
    struct Case {
        Body body;
        ResultCode expected;
    };
    const Case cases[] = {
        {[] { return core::kOk; }, core::kOk},
        {[] { return ResultCode{5}; }, 5},
        {[]() -> ResultCode { throw EZvResultException(core::kAccessDenied); },
         core::kAccessDenied},
        {[]() -> ResultCode { throw EZvResultException(3); }, 3},
        {[]() -> ResultCode { throw EZvIOTimeout(); }, core::kFail},
        {[]() -> ResultCode { throw EZvOutOfMemory(); }, core::kOutOfMemory},
        {[]() -> ResultCode { throw std::bad_alloc(); }, core::kOutOfMemory},
        {[]() -> ResultCode { throw std::bad_array_new_length(); }, core::kOutOfMemory},
        {[]() -> ResultCode { throw std::runtime_error("x"); }, core::kFail},
        {[]() -> ResultCode { throw 5; }, core::kFail},
        {[]() -> ResultCode { throw core::EZvCoreException(core::kAccessDenied); }, core::kFail},
        {[] { return throwIfFailed(core::kTimeout); }, core::kTimeout},
        {[] { return throwIfFailed(4); }, 4},
    };
    for (const Case& row : cases)
        EXPECT_EQ(resultFrame(row.body), row.expected) << &row - cases;
}

} // namespace
} // namespace ZVCL
