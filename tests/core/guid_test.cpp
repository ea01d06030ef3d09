#include "core/guid.h"

#include "core/registry/native_reg_key.h"
#include "lang/exception.h"
#include "lang/guid.h"
#include "platform/win32.h"
#include "support/converter_cases.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace zv::core {
namespace {

using ZVCL::CZvGuid;

constexpr Guid kSample = {
    0x6B29FC40, 0xCA47, 0x1067, {0xB3, 0x1D, 0x00, 0xDD, 0x01, 0x06, 0x62, 0xDA}};
constexpr Guid kUntouched = {1, 2, 3, {4}};

// A constant needs no start-up code, so hosts may load and unload the library at will.
constinit const CZvGuid constant(u"6B29FC40-CA47-1067-B31D-00DD010662DA");
static_assert(CZvGuid(u"6B29FC40-CA47-1067-B31D-00DD010662DA") == CZvGuid(kSample));
static_assert(sizeof(CZvGuid) == 16 && std::is_trivially_copyable_v<CZvGuid>);

TEST(Guid, IsReadFromItsText) {
    const struct {
        std::u16string text;
        Guid guid;
    } rows[] = {
        {u"6B29FC40-CA47-1067-B31D-00DD010662DA", kSample},
        {u"{6b29fc40-ca47-1067-b31d-00dd010662da}", kSample},
        {u"6B29fc40-CA47-1067-B31D-00dd010662DAFF and more", kSample},
        {u"6B29FC40-CA47-1067-B31D-00DD010662DA}", kSample},
        {u"{6B29FC40-CA47-1067-B31D-00DD010662DA}}", kSample},
        {u"00000000-0000-0000-0000-000000000000", Guid{}},
        {u"{FFFFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}",
         {0xFFFFFFFF, 0xFFFF, 0xFFFF, {255, 255, 255, 255, 255, 255, 255, 255}}},
    };
    for (const auto& row : rows) {
        Guid guid = kUntouched;
        EXPECT_EQ(GuidFromString(row.text.c_str(), guid), kOk);
        EXPECT_EQ(guid, row.guid);
        EXPECT_EQ(CZvGuid(row.text.c_str()), CZvGuid(row.guid));
        EXPECT_EQ(CZvGuid(ZVCL::CZvString(row.text)).value(), row.guid);
        EXPECT_EQ(CZvGuid(CZvGuid(row.guid).toString()), CZvGuid(row.guid));
    }
    EXPECT_EQ(constant.value(), kSample);
    EXPECT_EQ(CZvGuid().value(), Guid{});
}

// Each text is cut and made wrong at each place in turn.
TEST(Guid, RefusesOtherTexts) {
    const std::u16string braced = u"{6B29FC40-CA47-1067-B31D-00DD010662DA}";
    std::vector<std::u16string> wrong = {u"6B29FC40CA471067B31D00DD010662DA6B29", u"{" + braced};
    for (const std::u16string& good : {braced, braced.substr(1, 36)}) {
        for (std::size_t at = 0; at < good.size(); ++at) {
            wrong.push_back(good.substr(0, at));
            for (const char16_t unit : u"Gg-/:@`{} \uFF10") {
                if (unit != good[at])
                    (wrong.emplace_back(good))[at] = unit;
            }
        }
    }
    for (const std::u16string& text : wrong) {
        Guid guid = kUntouched;
        EXPECT_EQ(GuidFromString(text.c_str(), guid), kInvalidArgument) << test::narrowed(text);
        EXPECT_EQ(guid, kUntouched);
        EXPECT_EQ(test::errorOf([&] { (void)CZvGuid(text.c_str()); }),
                  "EZvException: invalid GUID string");
    }
    Guid guid = kUntouched;
    const char16_t* const none = nullptr;
    EXPECT_EQ(GuidFromString(none, guid), kInvalidArgument);
    EXPECT_THROW((void)CZvGuid(none), ZVCL::EZvException);
    EXPECT_THROW((void)CZvGuid(ZVCL::CZvString()), ZVCL::EZvException);
}

TEST(Guid, IsWrittenInBracesIntoTheRoomThereIs) {
    const std::u16string whole = u"{6B29FC40-CA47-1067-B31D-00DD010662DA}";
    for (std::uint32_t capacity = 0; capacity <= 45; ++capacity) {
        std::u16string room(45, u'#');
        EXPECT_EQ(GuidToString(kSample, room.data(), capacity), kOk);
        std::u16string expected = (whole + u'\0').substr(0, capacity);
        expected.resize(45, u'#');
        EXPECT_EQ(room, expected) << capacity;
    }
    EXPECT_EQ(GuidToString(kSample, nullptr, 39), kInvalidArgument);
    EXPECT_EQ(CZvGuid(Guid{1, 2, 10, {0, 1}}).toString().view(),
              u"{00000001-0002-000A-0001-000000000000}");
}

TEST(Guid, OfAProgrammaticIdentifierIsReadFromTheRegistry) {
    const std::u16string text = u"{6B29FC40-CA47-1067-B31D-00DD010662DA}";
    const struct {
        const char16_t* key;  // below the classes root
        const char16_t* name; // null: the default value
        RegValueType type;
        std::u16string data; // terminator included
        ResultCode code;
    } rows[] = {
        {u"Zv.Guid\\CLSID", nullptr, kRegString, text + u'\0', kOk},
        {u"Zv.Guid\\CLSID", u"", kRegString, text, kOk}, // not terminated
        {u"Zv.Guid\\CLSID", nullptr, kRegExpandString, text.substr(1, 36) + u'\0', kOk},
        {u"Zv.Guid\\Other", nullptr, kRegString, text, kClassNotRegistered},
        {u"Zv.Guid\\CLSID", u"named", kRegString, text, kClassNotRegistered},
        {u"Zv.Guid\\CLSID", nullptr, kRegString, u"", kInvalidArgument},
        {u"Zv.Guid\\CLSID", nullptr, kRegString, text.substr(0, 37), kInvalidArgument},
        {u"Zv.Guid\\CLSID", nullptr, kRegNumber, u"12", kInvalidArgument},
        {u"Zv.Guid\\CLSID", nullptr, kRegString, text + u"  ", kFail}, // too long
    };
    for (const auto& row : rows) {
        const test::TestFolder folder;
        Guid guid = kUntouched;
        EXPECT_EQ(ClsidFromProgId(u"Zv.Guid", guid), kClassNotRegistered);
        EXPECT_EQ(ClsidFromProgId(nullptr, guid), kInvalidArgument);
        EXPECT_EQ(ClsidFromProgId(u"", guid), kInvalidArgument);
        ASSERT_EQ(NativeRegSetValue(HKEY_CLASSES_ROOT_VALUE, row.key, row.name, row.type,
                                    row.data.data(),
                                    static_cast<std::uint32_t>(2 * row.data.size())),
                  kOk);
        EXPECT_EQ(ClsidFromProgId(u"Zv.Guid", guid), row.code) << &row - rows;
        EXPECT_EQ(guid, row.code == kOk ? kSample : kUntouched) << &row - rows;
    }
}

} // namespace
} // namespace zv::core
