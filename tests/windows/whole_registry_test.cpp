// The whole of the system's registry into the file, and from there into an empty one.
#include "core/registry/ini_text.h"
#include "core/registry/migration.h"
#include "core/registry/registry_module.h"
#include "core/wide_calls.h"
#include "core/wide_text.h"
#include "platform/win32.h"
#include "support/test_folder.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

constexpr std::uint32_t kRoots[] = {HKEY_CLASSES_ROOT_VALUE, HKEY_LOCAL_MACHINE_VALUE,
                                    HKEY_CURRENT_USER_VALUE};

struct ByName {
    bool operator()(const std::u16string& left, const std::u16string& right) const {
        return compareNames(left, right) < 0;
    }
};
// Section and name, with the separator that neither can hold, to the text.
using Texts = std::map<std::u16string, std::u16string, ByName>;

// What the file makes of a text: the code page's characters, without spaces at the ends.
std::u16string carried(const std::u16string& text) {
    std::u16string result = widen(narrow(text));
    const std::size_t first = result.find_first_not_of(u' ');
    if (first == std::u16string::npos)
        return u"";
    return result.substr(first, result.find_last_not_of(u' ') + 1 - first);
}

// Every text of the registry that the file can hold, read by the system's calls, not by the
// library's keys.
void readTree(HKEY key, const std::u16string& section, Texts& texts) {
    for (DWORD index = 0;; ++index) {
        char16_t name[256];
        DWORD length = 256;
        DWORD type = 0;
        alignas(char16_t) BYTE data[2048];
        DWORD size = sizeof data;
        const LONG error =
            g_wideCalls.RegEnumValueW(key, index, name, &length, nullptr, &type, data, &size);
        if (error == static_cast<LONG>(ERROR_MORE_DATA))
            continue; // too large to be copied
        if (error != 0)
            break;
        if (type != REG_SZ && type != REG_EXPAND_SZ)
            continue;
        std::u16string text(reinterpret_cast<char16_t*>(data), size / 2);
        if (const std::size_t end = text.find(u'\0'); end != std::u16string::npos) {
            if (text.find_first_not_of(u'\0', end) != std::u16string::npos)
                continue; // a zero inside
            text.resize(end);
        }
        if (type == REG_EXPAND_SZ) {
            char16_t expanded[1024];
            const DWORD room = g_wideCalls.ExpandEnvironmentStringsW(text.c_str(), expanded, 1024);
            if (room == 0 || room > 1024)
                continue;
            text = expanded;
        }
        if (text.find_first_of(u"\r\n") != std::u16string::npos)
            continue;
        const std::u16string_view whole(name, length);
        if (IniTable::checkSection(section) != kOk || IniTable::checkEntry(whole, u"") != kOk)
            continue;
        texts[section + u'\n' + std::u16string(whole)] = carried(text);
    }
    for (DWORD index = 0;; ++index) {
        char16_t name[256];
        DWORD length = 256;
        if (g_wideCalls.RegEnumKeyExW(key, index, name, &length, nullptr, nullptr, nullptr,
                                      nullptr) != 0)
            break;
        HKEY child = nullptr;
        if (g_wideCalls.RegOpenKeyExW(key, name, 0, KEY_READ, &child) != 0)
            continue;
        readTree(child, section + u'\\' + std::u16string(name, length), texts);
        RegCloseKey(child);
    }
}

Texts readRegistry() {
    Texts texts;
    for (const std::uint32_t root : kRoots)
        readTree(RootKeyFromValue(root), registry::SectionName(root, u""), texts);
    return texts;
}

TEST(WholeRegistry, GoesIntoTheFileAndComesBack) {
    const Texts before = readRegistry();
    const std::filesystem::path here = std::filesystem::current_path();
    const std::filesystem::path work = std::filesystem::temp_directory_path() /
                                       ("zvwhole-" + std::to_string(GetCurrentProcessId()));
    std::filesystem::create_directory(work);
    std::filesystem::current_path(work);
    using Clock = std::chrono::steady_clock;
    const auto start = Clock::now();
    ASSERT_EQ(MigrateRegistry(BackendKind::Native, 0, BackendKind::Ini, 0), kOk);
    const auto written = Clock::now();
    const std::string file = test::readFile("zvregistry.ini");
    std::filesystem::current_path(here);
    std::filesystem::remove_all(work);
    EXPECT_GT(before.size(), 1000u);

    const test::TestFolder folder; // and with it an empty registry
    test::writeFile("zvregistry.ini", file);
    const auto again = Clock::now();
    EXPECT_EQ(MigrateRegistry(BackendKind::Ini, 0, BackendKind::Native, 0), kOk);
    const auto end = Clock::now();
    EXPECT_FALSE(std::filesystem::exists("zvregistry.ini"));
    EXPECT_FALSE(std::filesystem::exists("zvregistry.ini.unmigrated"));

    const Texts after = readRegistry();
    int missing = 0;
    for (const auto& [place, text] : before) {
        const auto found = after.find(place);
        if (found == after.end() || found->second != text) {
            if (++missing < 20)
                ADD_FAILURE() << narrow(place) << "=" << narrow(text) << ", found "
                              << (found == after.end() ? "nothing" : narrow(found->second));
        }
    }
    EXPECT_EQ(missing, 0);
    EXPECT_EQ(after.size(), before.size());
    const auto milliseconds = [](Clock::duration time) {
        return static_cast<int>(
            std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
    };
    std::printf("whole registry: %d texts, %d bytes in the file; into it %d ms, back %d ms\n",
                static_cast<int>(before.size()), static_cast<int>(file.size()),
                milliseconds(written - start), milliseconds(end - again));
}

} // namespace
} // namespace zv::core
