// One contract, two back-ends; then what only one of them has.
#include "core/registry/ini_reg_key.h"
#include "core/registry/migration.h"
#include "core/registry/native_reg_key.h"
#include "core/registry/registry_module.h"
#include "core/wide_calls.h"
#include "platform/win32.h"
#include "support/test_folder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::core;
using namespace zv::test;

constexpr std::uint32_t kMachine = HKEY_LOCAL_MACHINE_VALUE;

template <typename Key>
CoreRef<CRegKey> keyAt(const std::u16string& path = u"", std::uint32_t root = kMachine) {
    return makeCoreRef<Key>(root, path);
}

ResultCode setText(CRegKey& key, const std::u16string& path, const char16_t* name,
                   const std::u16string& text, std::uint32_t root = kMachine) {
    return key.setValue(root, path, name, kRegString, text.c_str(),
                        static_cast<std::uint32_t>(2 * text.size() + 2));
}

struct Reading {
    ResultCode code = 0;
    RegValueType type = 99;
    std::string bytes; // as many as the answer's size
    bool operator==(const Reading&) const = default;
};

void PrintTo(const Reading& reading, std::ostream* out) {
    *out << std::hex << reading.code << ", type " << reading.type << ", "
         << testing::PrintToString(reading.bytes);
}

// Reads into a buffer of `room` bytes, and checks that the bytes behind it stay.
Reading read(CRegKey& key, const char16_t* name, std::uint32_t room = 256) {
    std::string buffer(room + 64, '#');
    std::uint32_t size = room;
    Reading reading;
    reading.code = key.queryValue(name, reading.type, buffer.data(), size);
    const std::size_t used = reading.code < 0 ? 0 : size;
    EXPECT_LE(used, room);
    EXPECT_EQ(buffer.find_first_not_of('#', room), std::string::npos);
    if (reading.code < 0)
        return {reading.code, 99, ""};
    reading.bytes = buffer.substr(0, used);
    return reading;
}

std::string bytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

Reading text(const std::u16string& expected) {
    return {kOk, kRegString, bytesOf(expected) + std::string(2, '\0')};
}

std::set<std::u16string> subKeysOf(CRegKey& key) {
    std::set<std::u16string> paths;
    while (key.hasNextSubKey())
        EXPECT_TRUE(paths.insert(key.nextSubKey()->getPath()).second);
    return paths;
}

std::set<std::u16string> valuesOf(CRegKey& key) {
    std::set<std::u16string> names;
    while (key.hasNextValue())
        EXPECT_TRUE(names.insert(key.nextValue()).second);
    return names;
}

template <typename Body>
ResultCode thrownBy(Body body) {
    try {
        body();
        return kOk;
    } catch (const EZvCoreException& exception) {
        return exception.result;
    }
}

class RegistryTest : public FolderTest {
protected:
    RegistryTest() { EXPECT_EQ(registry::Initialize(), kOk); }
    ~RegistryTest() override { registry::Terminate(); }
};

template <typename Key>
class RegKeyTest : public RegistryTest {
protected:
    static constexpr bool kNative = std::is_same_v<Key, CNativeRegKey>;
    static constexpr ResultCode kMissing = kNative ? kFileNotFound : kFail;
};
using BackEnds = testing::Types<CNativeRegKey, CIniRegKey>;

struct BackEndNames {
    template <typename Key>
    static std::string GetName(int) {
        return std::is_same_v<Key, CNativeRegKey> ? "Native" : "Ini";
    }
};
TYPED_TEST_SUITE(RegKeyTest, BackEnds, BackEndNames);

TYPED_TEST(RegKeyTest, WalksATreeThatItMade) {
    const auto root = keyAt<TypeParam>();
    ASSERT_EQ(setText(*root, u"Soft ware\\X\\Deep\\er", u"n", u"v"), kOk);
    ASSERT_EQ(setText(*root, u"Soft ware\\Y", u"", u"default"), kOk);
    ASSERT_EQ(setText(*root, u"Soft ware\\Y", u"\u00E9t\u00E9", u"\u4E2D"), kOk);
    ASSERT_EQ(setText(*root, u"Other", u"a", u""), kOk);
    ASSERT_EQ(setText(*root, u"Elsewhere", u"a", u"b", HKEY_CLASSES_ROOT_VALUE), kOk);

    using Paths = std::set<std::u16string>;
    const auto top = keyAt<TypeParam>();
    EXPECT_EQ(subKeysOf(*top), (Paths{u"Other", u"Soft ware"}));
    EXPECT_EQ(valuesOf(*top), Paths{});
    EXPECT_EQ(subKeysOf(*top), Paths{}); // no rewind
    EXPECT_EQ(thrownBy([&] { top->nextSubKey(); }), kNoMoreItems);
    EXPECT_EQ(thrownBy([&] { top->nextValue(); }), kNoMoreItems);
    EXPECT_EQ(subKeysOf(*keyAt<TypeParam>(u"Soft ware")),
              (Paths{u"Soft ware\\X", u"Soft ware\\Y"}));

    const auto x = keyAt<TypeParam>(u"Soft ware\\X");
    const auto deep = x->nextSubKey(); // taken without asking
    EXPECT_EQ(deep->getPath(), u"Soft ware\\X\\Deep");
    EXPECT_EQ(deep->getRoot(), kMachine);
    EXPECT_EQ(typeid(*deep), typeid(TypeParam));
    EXPECT_EQ(valuesOf(*deep), Paths{});
    EXPECT_EQ(valuesOf(*deep->nextSubKey()), Paths{u"n"});
    const auto y = keyAt<TypeParam>(u"Soft ware\\Y");
    EXPECT_EQ(valuesOf(*y), (Paths{u"", u"\u00E9t\u00E9"}));
    EXPECT_EQ(read(*y, u"\u00E9t\u00E9"), text(u"\u4E2D")); // beside the open enumeration
    EXPECT_EQ(subKeysOf(*keyAt<TypeParam>(u"", HKEY_CLASSES_ROOT_VALUE)), Paths{u"Elsewhere"});
}

TYPED_TEST(RegKeyTest, ReadsWhatItWroteWhateverTheCase) {
    const auto key = keyAt<TypeParam>(u"k");
    EXPECT_EQ(read(*key, u"n").code, this->kMissing);
    ASSERT_EQ(setText(*key, u"k", u"Name", u"one"), kOk);
    EXPECT_EQ(read(*key, u"n").code, this->kMissing);
    EXPECT_EQ(read(*key, u"nAME"), text(u"one"));
    EXPECT_EQ(read(*keyAt<TypeParam>(u"K"), u"name"), text(u"one"));
    ASSERT_EQ(setText(*key, u"K", u"NAME", u"two"), kOk);
    EXPECT_EQ(read(*key, u"Name"), text(u"two"));
    EXPECT_EQ(valuesOf(*key).size(), 1u);
    EXPECT_EQ(read(*keyAt<TypeParam>(u"k\\none"), u"Name").code, this->kMissing);
}

TYPED_TEST(RegKeyTest, RespectsTheRoomForAValue) {
    const auto key = keyAt<TypeParam>(u"k");
    ASSERT_EQ(setText(*key, u"k", u"n", u"four"), kOk);
    for (std::uint32_t room = 0; room < 10; ++room) {
        std::string buffer(10, '#'); // of which nothing is written
        RegValueType type = 99;
        std::uint32_t size = room;
        EXPECT_EQ(key->queryValue(u"n", type, buffer.data(), size), kFail) << room;
        EXPECT_EQ(buffer, std::string(10, '#'));
    }
    EXPECT_EQ(read(*key, u"n", 10), text(u"four"));
    EXPECT_EQ(read(*key, u"n", 11), text(u"four"));
}

TYPED_TEST(RegKeyTest, ANameThatDoesNotFitEndsTheEnumeration) {
    const auto key = keyAt<TypeParam>(u"k");
    ASSERT_EQ(setText(*key, u"k\\sub", u"value", u""), kOk);
    ASSERT_EQ(setText(*key, u"k", u"value", u""), kOk);
    const ResultCode tooLong = this->kNative ? kFail : kNameTooLong;
    for (const bool values : {false, true}) {
        for (std::uint32_t room = 0; room < 8; ++room) {
            const auto fresh = keyAt<TypeParam>(u"k");
            ASSERT_EQ(values ? fresh->openValues() : fresh->openSubKeys(), kOk);
            std::u16string name(16, u'#');
            std::uint32_t length = room;
            const ResultCode code = values ? fresh->enumValue(name.data(), length)
                                           : fresh->enumSubKey(name.data(), length);
            const std::u16string expected = values ? u"value" : u"sub";
            EXPECT_EQ(code, room > expected.size() ? kOk : tooLong) << room;
            EXPECT_EQ(name.find_first_not_of(u'#', room), std::u16string::npos);
            if (code == kOk) {
                EXPECT_EQ(name.substr(0, length + 1), expected + u'\0');
            }
        }
    }
    ASSERT_EQ(setText(*key, u"long", std::u16string(255, u'a').c_str(), u""), kOk);
    EXPECT_EQ(valuesOf(*keyAt<TypeParam>(u"long")), std::set{std::u16string(255, u'a')});
    ASSERT_EQ(setText(*key, u"long", std::u16string(256, u'a').c_str(), u""), kOk);
    EXPECT_EQ(valuesOf(*keyAt<TypeParam>(u"long")).count(std::u16string(256, u'a')), 0u);
}

TYPED_TEST(RegKeyTest, RefusesTypesThatItCannotKeep) {
    const auto key = keyAt<TypeParam>(u"k");
    const std::uint32_t number = 7;
    for (const RegValueType type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 11u, 0xFFFFFFFFu}) {
        const bool known = this->kNative ? type <= 5 && type != 2 : type == 0;
        const ResultCode refusal = this->kNative ? kInvalidArgument : kNotImplemented;
        EXPECT_EQ(key->setValue(kMachine, u"t" + std::u16string(1, u'0' + type % 10), u"n", type,
                                &number, sizeof number),
                  known ? kOk : refusal)
            << type;
    }
    EXPECT_EQ(subKeysOf(*keyAt<TypeParam>()).size(), this->kNative ? 5u : 1u);
}

TYPED_TEST(RegKeyTest, CopiesAValueUpToTheLimit) {
    const auto key = keyAt<TypeParam>(u"k");
    const auto target = CreateRegKey(kMachine, u"elsewhere",
                                     this->kNative ? BackendKind::Ini : BackendKind::Native);
    const std::u16string longest(1023, u'x');
    ASSERT_EQ(setText(*key, u"k", u"longest", longest), kOk);
    ASSERT_EQ(setText(*key, u"k", u"over", longest + u'y'), kOk);
    EXPECT_EQ(key->copyValue(u"longest", *target), kOk);
    EXPECT_EQ(key->copyValue(u"over", *target), kFail);
    EXPECT_EQ(key->copyValue(u"none", *target), this->kMissing);
    CoreRef<CRegKey> arrived;
    ASSERT_EQ(target->createKey(arrived, kMachine, u"k"), kOk);
    EXPECT_EQ(read(*arrived, u"longest", 2048), text(longest));
    EXPECT_EQ(valuesOf(*arrived), std::set<std::u16string>{u"longest"});
}

// ---------------------------------------------------------------------------------------------
// Native alone

class NativeRegKeyTest : public RegistryTest {
protected:
    static void write(const char16_t* name, DWORD type, std::string_view data) {
        HKEY key = nullptr;
        ASSERT_EQ(g_wideCalls.RegCreateKeyExW(RootKeyFromValue(kMachine), u"k", 0, nullptr, 0,
                                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
                  0);
        EXPECT_EQ(g_wideCalls.RegSetValueExW(key, name, 0, type,
                                             reinterpret_cast<const BYTE*>(data.data()),
                                             static_cast<DWORD>(data.size())),
                  0);
        RegCloseKey(key);
    }
};

TEST_F(NativeRegKeyTest, ReadsEveryTypeAsItsOwn) {
    const std::string four("\1\2\3\4", 4);
    const struct {
        DWORD nativeType;
        RegValueType type;
        std::string data;
    } rows[] = {
        {REG_NONE, kRegBinary, four},
        {REG_SZ, kRegString, bytesOf(std::u16string_view(u"a\0b\0", 4))},
        {REG_BINARY, kRegBinary, "\1"},
        {REG_BINARY, kRegBinary, ""},
        {REG_DWORD, kRegNumber, four},
        {5, 5, four},
        {6, 6, bytesOf(u"l")},
        {REG_MULTI_SZ, kRegMultiString, bytesOf(std::u16string_view(u"a\0b\0\0", 5))},
        {8, 8, four},
        {11, 11, four + four},
        {0x12345, 0x12345, four},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.nativeType);
        write(u"n", row.nativeType, row.data);
        Reading expected{kOk, row.type, row.data};
        Reading found = read(*keyAt<CNativeRegKey>(u"k"), u"n");
        if (row.nativeType == 6)
            found.bytes.resize(row.data.size()); // a store may have terminated it
        EXPECT_EQ(found, expected);
    }
}

TEST_F(NativeRegKeyTest, ExpandsIntoTheRoomThereIs) {
    setVariable("ZV_TEST_LONG", std::string(40, 'x').c_str());
    setVariable("ZV_TEST_SHORT", "y");
    const struct {
        std::u16string source;
        std::u16string expanded;
    } rows[] = {
        {u"", u""},
        {u"plain", u"plain"},
        {u"%ZV_TEST_LONG%", std::u16string(40, u'x')},
        {u"<%zv_none%>", u"<%zv_none%>"},
        {u"%ZV_TEST_SHORT%%ZV_TEST_SHORT%", u"yy"},
    };
    const auto key = keyAt<CNativeRegKey>(u"k");
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.source));
        ASSERT_EQ(key->setValue(kMachine, u"k", u"n", kRegExpandString, row.source.c_str(),
                                static_cast<std::uint32_t>(2 * row.source.size() + 2)),
                  kOk);
        const auto need =
            static_cast<std::uint32_t>(2 * std::max(row.source.size(), row.expanded.size()) + 2);
        EXPECT_EQ(read(*key, u"n", need), text(row.expanded));
        EXPECT_EQ(read(*key, u"n", need + 1), text(row.expanded));
        EXPECT_EQ(read(*key, u"n", need - 1).code, kFail);
        EXPECT_EQ(read(*key, u"n", need - 2).code, kFail);
    }
    setVariable("ZV_TEST_LONG", nullptr);
    setVariable("ZV_TEST_SHORT", nullptr);
}

TEST_F(NativeRegKeyTest, TextWithoutItsEndIsCopiedWhole) {
    write(u"bare", REG_SZ, bytesOf(u"bare"));
    write(u"odd", REG_SZ, bytesOf(u"od") + "d");
    write(u"empty", REG_SZ, "");
    const auto key = keyAt<CNativeRegKey>(u"k");
    const auto target = keyAt<CIniRegKey>(u"k");
    for (const char16_t* name : {u"bare", u"odd", u"empty"})
        EXPECT_EQ(key->copyValue(name, *target), kOk);
    EXPECT_EQ(read(*target, u"bare"), text(u"bare"));
    EXPECT_EQ(read(*target, u"empty"), text(u""));
    EXPECT_EQ(read(*target, u"odd").bytes.substr(0, 4), bytesOf(u"od"));
}

TEST_F(NativeRegKeyTest, AKeyThatIsNotThereHasNoValuesAndThrowsForSubKeys) {
    const auto key = keyAt<CNativeRegKey>(u"none");
    EXPECT_FALSE(key->hasNextValue());
    EXPECT_EQ(thrownBy([&] { key->hasNextSubKey(); }), kFail);
    Handle handle = 1;
    EXPECT_EQ(NativeRegOpenValues(kMachine, u"none", handle), kFileNotFound);
    EXPECT_EQ(handle, kNoHandle);
    EXPECT_EQ(NativeRegClose(0), kOk);
}

TEST_F(NativeRegKeyTest, EnumerationTellsTypesAsTheyAre) {
    write(u"a", REG_NONE, "");
    write(u"b", REG_EXPAND_SZ, bytesOf(u"%x%"));
    write(u"c", REG_DWORD, "abcd");
    Handle handle = kNoHandle;
    ASSERT_EQ(NativeRegOpenValues(kMachine, u"k", handle), kOk);
    for (const RegValueType expected : {0u, 0u, 1u}) {
        char16_t name[8];
        std::uint32_t length = 8;
        std::uint32_t size = 64;
        RegValueType type = 99;
        char data[64];
        EXPECT_EQ(NativeRegEnumValue(handle, name, length, &type, data, &size), kOk);
        EXPECT_EQ(type, expected);
    }
    NativeRegClose(handle);
}

// ---------------------------------------------------------------------------------------------
// The file alone

using IniRegKeyTest = RegistryTest;

TEST_F(IniRegKeyTest, SubKeysComeInOrderAndInEachSpelling) {
    writeFile("zvregistry.ini", "[ZV_HKEY_CONFIG\\b]\n\n[ZV_HKEY_CONFIG\\B\\x]\n\n"
                                "[ZV_HKEY_CONFIG\\a b]\n\n[zv_hkey_config\\hidden]\nk=v\n\n"
                                "[ZV_HKEY_CONFIG\\a\\y]\n\n[ZV_HKEY_CONFIG\\\\empty]\n");
    const auto root = keyAt<CIniRegKey>();
    std::u16string all;
    while (root->hasNextSubKey())
        all += root->nextSubKey()->getPath() + u'|';
    EXPECT_EQ(all, u"B|a|a b|b|");
    EXPECT_EQ(read(*keyAt<CIniRegKey>(u"Hidden"), u"K"), text(u"v"));
    EXPECT_FALSE(keyAt<CIniRegKey>(u"a")->hasNextValue()); // no section of its own
}

TEST_F(IniRegKeyTest, EachRootHasItsSection) {
    const auto key = keyAt<CIniRegKey>();
    char16_t user[128];
    DWORD size = 128;
    ASSERT_NE(g_wideCalls.GetUserNameW(user, &size), 0);
    for (const std::uint32_t root : {HKEY_CLASSES_ROOT_VALUE, kMachine, HKEY_CURRENT_USER_VALUE})
        EXPECT_EQ(setText(*key, u"p", u"n", u"v", root), kOk);
    EXPECT_EQ(readFile("zvregistry.ini"),
              "[ZV_HKEY_CLASSES\\p]\r\nn=v\r\n\r\n[ZV_HKEY_CONFIG\\p]\r\nn=v\r\n\r\n"
              "[ZV_HKEY_USER\\" +
                  narrow(user) + "\\p]\r\nn=v\r\n\r\n");
    const auto other = keyAt<CIniRegKey>(u"p", 0x80000003);
    EXPECT_EQ(setText(*key, u"p", u"n", u"v", 0x80000003), kInvalidArgument);
    EXPECT_EQ(read(*other, u"n").code, kInvalidArgument);
    EXPECT_EQ(other->openValues(), kInvalidArgument);
    EXPECT_EQ(thrownBy([&] { other->hasNextSubKey(); }), kInvalidArgument);
}

TEST_F(IniRegKeyTest, ARefusalLeavesTheFileAlone) {
    const auto key = keyAt<CIniRegKey>();
    const std::uint32_t number = 1;
    EXPECT_EQ(key->setValue(kMachine, u"p", u"n", kRegNumber, &number, 4), kNotImplemented);
    EXPECT_EQ(setText(*key, u"p", u"a=b", u"v"), kInvalidArgument);
    EXPECT_EQ(setText(*key, u"p", u"n", u"a\nb"), kInvalidArgument);
    EXPECT_EQ(setText(*key, u"p\n", u"n", u"v"), kInvalidArgument);
    EXPECT_FALSE(fs::exists("zvregistry.ini"));
    EXPECT_EQ(key->setValue(kMachine, u"p", nullptr, kRegString, nullptr, 0), kOk);
    EXPECT_EQ(readFile("zvregistry.ini"), "[ZV_HKEY_CONFIG\\p]\r\n=\r\n\r\n");
}

TEST_F(IniRegKeyTest, WithoutTheModuleEveryOperationFails) {
    registry::Terminate();
    const auto key = keyAt<CIniRegKey>(u"p");
    EXPECT_EQ(setText(*key, u"p", u"n", u"v"), kFail);
    EXPECT_EQ(read(*key, u"n").code, kFail);
    EXPECT_FALSE(key->hasNextValue());
    EXPECT_EQ(thrownBy([&] { key->hasNextSubKey(); }), kFail);
}

} // namespace
