// The public header and the library's own interfaces are one thing said twice: identifiers, slots
// and signatures are compared.
#include "zvsupport/char_codec.h"

#include "core/com/class_factory.h"
#include "text/char_codec.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

namespace {

// A type of the public header as the library has it.
template <typename Type>
struct Inside {
    using type = Type;
};
template <typename Type>
struct Inside<const Type> {
    using type = const typename Inside<Type>::type;
};
template <typename Type>
struct Inside<Type*> {
    using type = typename Inside<Type>::type*;
};
template <typename Type>
struct Inside<Type&> {
    using type = typename Inside<Type>::type&;
};
template <>
struct Inside<zvsupport::ZvGuid> {
    using type = ZVCL::ZvIid;
};
template <>
struct Inside<zvsupport::IZvUnknown> {
    using type = ZVCL::IZvUnknown;
};
template <>
struct Inside<zvsupport::IZvByteBuffer> {
    using type = ZVCL::IZvByteBuffer;
};
template <>
struct Inside<zvsupport::IZvCharBuffer> {
    using type = ZVCL::IZvCharBuffer;
};

// Answer and arguments of a function in the calling convention of interfaces; nothing for another.
template <typename Function>
struct Signature;
template <typename Result, typename Class, typename... Arguments>
struct Signature<Result (ZV_INTERFACE_CALL Class::*)(Arguments...)> {
    using type = typename Inside<Result>::type(typename Inside<Arguments>::type...);
};
template <typename Result, typename Class, typename... Arguments>
struct Signature<Result (ZV_INTERFACE_CALL Class::*)(Arguments...) const> {
    using type = typename Inside<Result>::type(typename Inside<Arguments>::type...) const;
};
template <typename Result, typename... Arguments>
struct Signature<Result(ZV_INTERFACE_CALL*)(Arguments...)> {
    using type = typename Inside<Result>::type(typename Inside<Arguments>::type...);
};
template <typename One, typename Other>
constexpr bool alike =
    std::is_same_v<typename Signature<One>::type, typename Signature<Other>::type>;

static_assert(alike<zvsupport::DllGetClassObjectFunction, ZVCL::DllGetClassObjectFunction>);

// A pointer to a virtual function holds the function's place in the table, in bytes, plus 1.
template <typename Function>
std::size_t slotOf(Function function) {
    std::uintptr_t word = 0;
    std::memcpy(&word, &function, sizeof word);
    return (word - 1) / sizeof(void*);
}

#define ZV_METHOD(interface, method)                                                               \
    {                                                                                              \
#interface "::" #method, slotOf(&zvsupport::interface::method),                            \
            slotOf(&ZVCL::interface::method)                                                       \
    }
#define ZV_SAME(interface, method)                                                                 \
    static_assert(                                                                                 \
        alike<decltype(&zvsupport::interface::method), decltype(&ZVCL::interface::method)>);

#define ZV_UNKNOWN(EACH, interface)                                                                \
    EACH(interface, QueryInterface) EACH(interface, AddRef) EACH(interface, Release)
#define ZV_BUFFER(EACH, interface)                                                                 \
    ZV_UNKNOWN(EACH, interface)                                                                    \
    EACH(interface, GetLength)                                                                     \
    EACH(interface, GetBuffer)                                                                     \
    EACH(interface, LockRead)                                                                      \
    EACH(interface, UnlockRead)                                                                    \
    EACH(interface, IsWritable)                                                                    \
    EACH(interface, LockWrite)                                                                     \
    EACH(interface, Reserve) EACH(interface, UnlockWrite) EACH(interface, Compact)
#define ZV_ALL(EACH)                                                                               \
    ZV_BUFFER(EACH, IZvByteBuffer)                                                                 \
    ZV_BUFFER(EACH, IZvCharBuffer)                                                                 \
    ZV_UNKNOWN(EACH, IZvCharCodec)                                                                 \
    EACH(IZvCharCodec, GetName)                                                                    \
    EACH(IZvCharCodec, GetMaxBytesPerChar)                                                         \
    EACH(IZvCharCodec, GetMaxCharsPerByte)                                                         \
    EACH(IZvCharCodec, DecodeChar)                                                                 \
    EACH(IZvCharCodec, EncodeChar)                                                                 \
    ZV_UNKNOWN(EACH, IClassFactory)                                                                \
    EACH(IClassFactory, CreateInstance) EACH(IClassFactory, LockServer)

ZV_ALL(ZV_SAME)

TEST(CharCodecHeader, HasTheLibrarysSlots) {
#define ZV_ROW(interface, method) ZV_METHOD(interface, method),
    static const struct {
        const char* name;
        std::size_t outside;
        std::size_t inside;
    } methods[] = {ZV_ALL(ZV_ROW)};
    for (const auto& method : methods)
        EXPECT_EQ(method.outside, method.inside) << method.name;
    // What is compared is not the same by chance.
    EXPECT_EQ(slotOf(&zvsupport::IZvCharCodec::EncodeChar), 7u);
    EXPECT_EQ(slotOf(&zvsupport::IZvByteBuffer::Compact), 11u);
}

TEST(CharCodecHeader, HasTheLibrarysNumbers) {
    const auto same = [](const zvsupport::ZvGuid& outside, const ZVCL::ZvIid& inside) {
        return sizeof outside == sizeof inside &&
               std::memcmp(&outside, &inside, sizeof outside) == 0;
    };
    EXPECT_TRUE(same(zvsupport::kIZvUnknownId, ZVCL::IZvUnknown::kIid));
    EXPECT_TRUE(same(zvsupport::kIClassFactoryId, ZVCL::IClassFactory::kIid));
    EXPECT_TRUE(same(zvsupport::kIZvBufferId, ZVCL::IZvByteBuffer::kIid));
    EXPECT_TRUE(same(zvsupport::kIZvBufferId, ZVCL::IZvCharBuffer::kIid));
    EXPECT_TRUE(same(zvsupport::kIZvCharCodecId, ZVCL::IZvCharCodec::kIid));
    EXPECT_EQ(zvsupport::kOk, zv::core::kOk);
    EXPECT_EQ(zvsupport::kNotImplemented, zv::core::kNotImplemented);
    EXPECT_EQ(zvsupport::kNoInterface, zv::core::kNoInterface);
    EXPECT_EQ(zvsupport::kPointer, zv::core::kPointer);
    EXPECT_EQ(zvsupport::kFail, zv::core::kFail);
    EXPECT_EQ(zvsupport::kOutOfMemory, zv::core::kOutOfMemory);
}

} // namespace
