#include "contract/registry_calls.h"
#include "support/self_process.h"
#include "support/test_folder.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::test {
namespace {

using RegistryTest = FolderTest;

TEST_F(RegistryTest, KeysAreCreatedOpenedAndDeleted) {
    HKEY key = nullptr;
    DWORD disposition = 0;
    ASSERT_EQ(RegCreateKeyExW(kUser, u"Software\\Vendor\\App", 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, &disposition),
              0);
    EXPECT_EQ(disposition, REG_CREATED_NEW_KEY);
    ASSERT_EQ(RegCreateKeyExA(kUser, "software\\VENDOR", 0, nullptr, 0, KEY_READ, nullptr, &key,
                              &disposition),
              0);
    EXPECT_EQ(disposition, REG_OPENED_EXISTING_KEY);
    HKEY app = nullptr;
    ASSERT_EQ(open(key, u"App\\", KEY_READ, app), 0); // a separator at the end leads nowhere
    HKEY none = nullptr;
    EXPECT_EQ(open(key, u"\\App", KEY_READ, none), 161); // and none begins a path
    EXPECT_EQ(RegCreateKeyExW(key, u"\\App", 0, nullptr, 0, KEY_READ, nullptr, &none, nullptr),
              161);
    EXPECT_EQ(RegDeleteKeyW(key, u"\\App"), 161);
    ASSERT_EQ(open(kUser, u"Software\\\\Vendor", KEY_READ, none), 0);
    EXPECT_EQ(keyNames(kUser), std::vector<std::u16string>{u"Software"});
    EXPECT_EQ(open(kMachine, u"Software", KEY_READ, key), 2);

    EXPECT_EQ(RegDeleteKeyW(kUser, u"Software"), 5); // has sub-keys
    EXPECT_EQ(RegDeleteKeyW(kUser, u""), 5);         // a root
    EXPECT_EQ(RegDeleteKeyW(kUser, u"Software\\None"), 2);
    EXPECT_EQ(RegDeleteKeyA(kUser, "Software\\Vendor\\App"), 0);
    EXPECT_EQ(open(app, u"", KEY_READ, key), 1018);
    EXPECT_EQ(setText(create(kUser, u"Software\\Vendor\\App"), u"n", u"v"), 0);
    EXPECT_EQ(open(app, u"", KEY_READ, key), 1018); // another key of that name
    EXPECT_EQ(RegCloseKey(app), 0);
}

TEST_F(RegistryTest, HandlesAllowWhatTheyWereOpenedFor) {
    HKEY all = create(kUser, u"k");
    ASSERT_EQ(setText(all, u"n", u"v"), 0);
    HKEY reading = nullptr;
    ASSERT_EQ(open(kUser, u"k", KEY_READ, reading), 0);
    EXPECT_EQ(setText(reading, u"n", u"w"), 5);
    EXPECT_EQ(RegDeleteValueW(reading, u"n"), 5);
    EXPECT_EQ(text(reading, u"n"), u"v");
    HKEY writing = nullptr;
    ASSERT_EQ(open(kUser, u"k", GENERIC_WRITE, writing), 0);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExW(writing, u"n", nullptr, nullptr, nullptr, &size), 5);
    EXPECT_EQ(setText(writing, u"n", u"w"), 0);

    EXPECT_EQ(RegCloseKey(writing), 0);
    for (HKEY none : {writing, HKEY(nullptr), reinterpret_cast<HKEY>(std::uintptr_t{0x7FFFFFFC})}) {
        EXPECT_EQ(setText(none, u"n", u"x"), 6);
        EXPECT_EQ(RegCloseKey(none), 6);
        EXPECT_EQ(RegQueryValueExW(none, u"n", nullptr, nullptr, nullptr, &size), 6);
    }
    EXPECT_EQ(RegCloseKey(kUser), 0);
}

TEST_F(RegistryTest, SizesAreHonoured) {
    HKEY key = create(kUser, u"k");
    ASSERT_EQ(setText(key, u"name", u"four"), 0);
    ASSERT_EQ(RegSetValueExW(key, nullptr, 0, REG_BINARY, nullptr, 0), 0);
    BYTE data[16];
    std::memset(data, 0xEE, sizeof(data));
    DWORD size = 0, type = 0;
    EXPECT_EQ(RegQueryValueExW(key, u"NAME", nullptr, &type, nullptr, &size), 0);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(type, REG_SZ);
    size = 9;
    EXPECT_EQ(RegQueryValueExW(key, u"name", nullptr, nullptr, data, &size), 234);
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(data[0], 0xEE);
    EXPECT_EQ(RegQueryValueExW(key, u"name", nullptr, nullptr, data, nullptr), 87);
    size = 4;
    EXPECT_EQ(RegQueryValueExW(key, u"", nullptr, &type, data, &size), 0);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(type, REG_BINARY);
    EXPECT_EQ(RegQueryValueExA(key, "name", nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 5u);
    size = 4;
    EXPECT_EQ(RegQueryValueExA(key, "name", nullptr, nullptr, data, &size), 234);

    char16_t name[5] = {};
    DWORD length = 4;
    EXPECT_EQ(RegEnumValueW(key, 1, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(length, 4u);
    EXPECT_EQ(name[0], 0);
    length = 5;
    size = sizeof(data);
    EXPECT_EQ(RegEnumValueW(key, 1, name, &length, nullptr, &type, data, &size), 0);
    EXPECT_EQ(std::u16string(name, length), u"name");
    EXPECT_EQ(size, 10u);
    EXPECT_EQ(RegEnumValueW(key, 2, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
    length = 1;
    EXPECT_EQ(RegEnumKeyExW(kUser, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 234);
    EXPECT_EQ(RegEnumKeyExW(kUser, 1, name, &length, nullptr, nullptr, nullptr, nullptr), 259);
}

// Narrow and wide calls see the same registry; text of the string types is converted both ways.
TEST_F(RegistryTest, NarrowCallsConvertTextAlone) {
    HKEY key = nullptr;
    ASSERT_EQ(
        RegCreateKeyExA(kUser, "narrow", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0);
    const std::string list("one\0two\0\0", 9);
    ASSERT_EQ(
        RegSetValueExA(key, "list", 0, REG_MULTI_SZ, reinterpret_cast<const BYTE*>(list.data()), 9),
        0);
    ASSERT_EQ(
        RegSetValueExA(key, "bytes", 0, REG_BINARY, reinterpret_cast<const BYTE*>(list.data()), 9),
        0);
    for (const char* name : {"list", "bytes"}) {
        char data[32] = {}, found[32] = {};
        DWORD size = sizeof(data), wideSize = 0, length = sizeof(found), type = 0;
        ASSERT_EQ(
            RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(data), &size), 0);
        EXPECT_EQ(std::string(data, size), list);
        const std::u16string wideName(name, name + std::strlen(name));
        ASSERT_EQ(RegQueryValueExW(key, wideName.c_str(), nullptr, &type, nullptr, &wideSize), 0);
        EXPECT_EQ(wideSize, type == REG_BINARY ? 9u : 18u);
        size = sizeof(data);
        ASSERT_EQ(RegEnumValueA(key, type == REG_BINARY ? 0 : 1, found, &length, nullptr, nullptr,
                                reinterpret_cast<BYTE*>(data), &size),
                  0);
        EXPECT_EQ(std::string(found, length), name);
        EXPECT_EQ(std::string(data, size), list);
        EXPECT_EQ(RegDeleteValueA(key, name), 0);
    }
    char name[8];
    DWORD length = sizeof(name);
    EXPECT_EQ(RegEnumKeyExA(kUser, 0, name, &length, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(std::string(name, length), "narrow");
}

// What another process does to a key that is open here.
ZV_TEST_ROLE(changeKeys) {
    LONG bad = RegDeleteKeyW(kUser, u"gone\\below");
    HKEY kept = create(kUser, u"kept");
    for (int i = 0; i < 40; ++i) // the stand-in compacts its file on the way
        bad |= setText(kept, u"large", std::u16string(4000, static_cast<char16_t>(u'a' + i % 26)));
    return bad == 0 && setText(kept, u"n", u"new") == 0 ? 0 : 1;
}

TEST_F(RegistryTest, OpenKeysFollowOtherProcesses) {
    HKEY kept = create(kUser, u"kept"), gone = create(kUser, u"gone\\below");
    ASSERT_EQ(setText(kept, u"n", u"old"), 0);
    ASSERT_EQ(SelfProcess("changeKeys").join(), 0);
    EXPECT_EQ(text(kept, u"n"), u"new");
    EXPECT_EQ(setText(gone, u"n", u"v"), 1018);
    EXPECT_EQ(setText(kept, u"n", u"newer"), 0);
    for (HKEY key : {kept, gone})
        EXPECT_EQ(RegCloseKey(key), 0);
    letGoOfRegistry();
    EXPECT_EQ(text(create(kUser, u"kept"), u"n"), u"newer");
}

TEST_F(RegistryTest, ThreadsShareTheRegistry) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([thread] {
            for (int i = 0; i < 100; ++i) {
                HKEY key = create(kUser, u"threads");
                const std::u16string name(1, static_cast<char16_t>(u'a' + thread));
                setText(key, (name + static_cast<char16_t>(u'0' + i % 10)).c_str(), name);
                EXPECT_EQ(text(key, (name + static_cast<char16_t>(u'0' + i % 10)).c_str()), name);
                RegCloseKey(key);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(valueNames(create(kUser, u"threads")).size(), 40u);
}

// Random operations against a plain model, with the hive closed and compacted in between.
TEST_F(RegistryTest, AgreesWithAPlainModel) {
    using Values = std::map<std::u16string, std::pair<DWORD, std::string>>;
    std::map<std::u16string, Values> model; // by path below the root, without the root itself
    std::mt19937 random(20041);
    const auto pick = [&](unsigned count) { return static_cast<unsigned>(random() % count); };
    const auto path = [&] {
        std::u16string name = u"K" + std::u16string(1, static_cast<char16_t>(u'A' + pick(4)));
        for (unsigned depth = pick(3); depth > 0; --depth)
            name += u"\\" + std::u16string(1, static_cast<char16_t>(u'A' + pick(3)));
        return name;
    };
    const auto hasSubKeys = [&](const std::u16string& key) {
        return std::any_of(model.begin(), model.end(),
                           [&](const auto& entry) { return entry.first.starts_with(key + u"\\"); });
    };
    for (int step = 0; step < 4000; ++step) {
        const std::u16string at = path();
        const std::u16string name(pick(3), static_cast<char16_t>(u'A' + pick(12)));
        const bool there = model.count(at) != 0;
        HKEY key = nullptr;
        switch (pick(8)) {
        case 0:
            ASSERT_EQ(RegDeleteKeyW(kUser, at.c_str()), !there ? 2 : hasSubKeys(at) ? 5 : 0);
            if (there && !hasSubKeys(at))
                model.erase(at);
            break;
        case 1:
            ASSERT_EQ(open(kUser, at.c_str(), KEY_ALL_ACCESS, key), there ? 0 : 2);
            if (there) {
                ASSERT_EQ(RegDeleteValueW(key, name.c_str()), model[at].erase(name) ? 0 : 2);
            }
            break;
        case 2:
            if (pick(20) == 0)
                letGoOfRegistry();
            break;
        default: {
            const DWORD type = pick(4) == 0 ? DWORD{REG_SZ} : DWORD{REG_BINARY};
            std::string data(2 * pick(300), static_cast<char>('a' + pick(3)));
            if (type == REG_SZ)
                data.append(2, '\0');
            key = create(kUser, at.c_str());
            for (std::size_t end = at.size(); end != at.npos;
                 end = end ? at.rfind(u'\\', end - 1) : at.npos)
                model[at.substr(0, end)];
            ASSERT_EQ(RegSetValueExW(key, name.c_str(), 0, type,
                                     reinterpret_cast<const BYTE*>(data.data()),
                                     static_cast<DWORD>(data.size())),
                      0);
            model[at][name] = {type, data};
        }
        }
        if (key != nullptr)
            RegCloseKey(key);
        if (step % 100 != 0)
            continue;
        for (const auto& [keyPath, values] : model) {
            ASSERT_EQ(open(kUser, keyPath.c_str(), KEY_READ, key), 0);
            DWORD index = 0;
            for (const auto& [valueName, value] : values) {
                char16_t found[8];
                BYTE data[700];
                DWORD length = 8, size = sizeof(data), type = 0;
                ASSERT_EQ(RegEnumValueW(key, index++, found, &length, nullptr, &type, data, &size),
                          0);
                ASSERT_EQ(std::u16string(found, length), valueName);
                ASSERT_EQ(type, value.first);
                ASSERT_EQ(std::string(reinterpret_cast<char*>(data), size), value.second);
            }
            ASSERT_EQ(valueNames(key).size(), values.size());
            std::size_t below = 0;
            for (const auto& other : model)
                below += other.first.starts_with(keyPath + u"\\") &&
                         other.first.find(u'\\', keyPath.size() + 1) == other.first.npos;
            ASSERT_EQ(keyNames(key).size(), below);
            RegCloseKey(key);
        }
    }
}

} // namespace
} // namespace zv::test
