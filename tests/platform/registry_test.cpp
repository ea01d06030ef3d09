#include "platform/posix/registry.h"

#include "contract/registry_calls.h"
#include "support/hive_path.h"
#include "support/test_folder.h"

#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace zv::test {
namespace {

using platform::posix::closeRegistry;

using RegistryTest = FolderTest;

TEST_F(RegistryTest, ReadingCreatesNothing) {
    HKEY key = nullptr;
    EXPECT_EQ(open(kUser, u"Software", KEY_READ, key), 2);
    EXPECT_EQ(key, nullptr);
    EXPECT_EQ(open(kUser, u"", KEY_READ, key), 0);
    EXPECT_TRUE(keyNames(key).empty());
    EXPECT_EQ(RegDeleteValueW(kUser, u"n"), 2);
    EXPECT_FALSE(std::filesystem::exists(hivePath()));
}

TEST_F(RegistryTest, KeysEndWithTheRegistry) {
    HKEY key = create(kUser, u"k");
    closeRegistry();
    EXPECT_EQ(RegCloseKey(key), 6);
    HKEY next = create(kUser, u"k");
    for (HKEY none : {key, RootKeyFromValue(0x80000009)}) { // values are not used again
        EXPECT_EQ(setText(none, u"n", u"x"), 6);
        EXPECT_EQ(RegCloseKey(none), 6);
    }
    EXPECT_EQ(RegCloseKey(next), 0);
}

TEST_F(RegistryTest, NullArgumentsAreErrors) {
    HKEY key = nullptr;
    DWORD length = 4;
    char16_t name[4];
    EXPECT_EQ(open(kUser, nullptr, KEY_READ, key), 0);
    EXPECT_EQ(RegOpenKeyExW(kUser, u"k", 0, KEY_READ, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(kUser, u"k", 0, nullptr, 0, KEY_READ, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegCreateKeyExW(kUser, nullptr, 0, nullptr, 0, KEY_READ, nullptr, &key, nullptr),
              1010);
    EXPECT_EQ(RegDeleteKeyW(kUser, nullptr), 87);
    EXPECT_EQ(RegSetValueExW(kUser, u"n", 0, REG_SZ, nullptr, 2), 87);
    EXPECT_EQ(RegEnumKeyExW(kUser, 0, nullptr, &length, nullptr, nullptr, nullptr, nullptr), 87);
    EXPECT_EQ(RegEnumValueW(kUser, 0, name, nullptr, nullptr, nullptr, nullptr, nullptr), 87);
}

// Eight processes, each with its parent's registry already open, write one value at a time; one of
// them keeps changing a large value, so that the hive is rewritten under the others.
TEST_F(RegistryTest, ManyProcessesLoseNothing) {
    constexpr int kProcesses = 8, kValues = 200;
    HKEY key = create(kUser, u"shared");
    std::vector<pid_t> children;
    for (int process = 0; process < kProcesses; ++process) {
        const pid_t child = fork();
        if (child == 0) {
            LONG bad = 0;
            for (int i = 0; i < kValues; ++i) {
                const std::string name = std::to_string(process) + "." + std::to_string(i);
                HKEY mine = create(kUser, u"shared");
                bad |= setText(mine, std::u16string(name.begin(), name.end()).c_str(), u"v");
                bad |= RegCloseKey(mine);
                if (process == 0)
                    bad |= setText(key, u"large", std::u16string(4000, u'a' + i % 26));
            }
            _exit(bad == 0 ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    EXPECT_EQ(valueNames(key).size(), std::size_t{kProcesses * kValues + 1});
    closeRegistry();
    EXPECT_EQ(valueNames(create(kUser, u"shared")).size(), std::size_t{kProcesses * kValues + 1});
    EXPECT_LT(std::filesystem::file_size(hivePath()), 4000u * 2 * kValues); // it was compacted
}

} // namespace
} // namespace zv::test
