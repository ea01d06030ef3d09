// What outsiders see of the library's interfaces: slot order, calling convention and sizes, against
// code that was compiled without the library's headers.
#include "text/c_codec.h"

#include "core/files.h"
#include "core/sync.h"
#include "lang/class.h"
#include "lang/interface_map.h"
#include "lang/mutex.h"
#include "lang/ref.h"
#include "lang/string.h"
#include "support/converter_cases.h"
#include "text/com_converters.h"
#include "util/ro_buffer.h"
#include "util/rw_buffer.h"

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

using zv::test::Bytes;
using zv::test::toBytes;

TEST(Outsider, ServesACharsetInC) {
    void* object = cCodecCreate();
    const auto codec = ZvRef<IZvCharCodec>::adopt(static_cast<IZvCharCodec*>(object));
    std::int32_t in = 0, out = 0;
    {
        const auto encoder = makeRef<CZvCTBCom>(codec.get());
        const auto decoder = makeRef<CZvBTCCom>(codec.get());
        EXPECT_EQ(cCodecReferences(object), 3);
        EXPECT_EQ(std::u16string_view(u"X-C"), decoder->getCharacterEncoding());
        std::uint8_t bytes[4] = {};
        EXPECT_EQ(encoder->convert(u"\u0441\u0442a", in, 3, bytes, out, 4), 3);
        EXPECT_EQ(Bytes(bytes, 3), toBytes("AB?"));
        char16_t text[4] = {};
        in = out = 0;
        EXPECT_EQ(decoder->convert(bytes, in, 2, text, out, 4), 2);
        EXPECT_EQ(std::u16string_view(text, 2), u"\u0441\u0442");
    }
    EXPECT_EQ(cCodecReferences(object), 1);
}

TEST(Outsider, UsesAnObjectFromC) {
    const auto object = makeRef<CZvObject>();
    const auto other = makeRef<CZvObject>();
    CZvComObject* unknown = object.get();
    std::int32_t order = 0;
    std::uint32_t hash = 0;
    EXPECT_EQ(cCompare(unknown, static_cast<CZvComObject*>(other.get()), &order, &hash), 0);
    EXPECT_EQ(order, object->compareTo(*other));
    EXPECT_EQ(hash, object->hashCode());
}

// The fields that are part of what outsiders know, in the sizes of the product's own platform.
TEST(Outsider, SizesAreThoseOfThePlatform) {
    EXPECT_EQ(sizeof(zv::core::Handle), sizeof(void*));
    EXPECT_EQ(sizeof(ResultCode), 4u);
    EXPECT_EQ(sizeof(InterfaceMapEntry), 3 * sizeof(void*));
    if (sizeof(void*) != 4)
        GTEST_SKIP() << "the rest are the sizes of 32-bit systems";
    EXPECT_EQ(sizeof(CZvComObject), 12u); // slots, count, module
    EXPECT_EQ(sizeof(CZvObject), 16u);    // and the second interface's slots
    EXPECT_EQ(sizeof(CZvClass), 28u);     // name, type, create
    EXPECT_EQ(sizeof(CZvMutex), 20u);     // handle
    EXPECT_EQ(sizeof(CZvRWByteBuffer), 32u);
    EXPECT_EQ(sizeof(CZvROCharBuffer), 28u);
    EXPECT_EQ(sizeof(CZvString), 28u);
}

} // namespace
} // namespace ZVCL
