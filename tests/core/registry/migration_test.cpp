#include "core/registry/migration.h"

#include "core/registry/ini_file.h"
#include "core/registry/registry_values.h"
#include "support/self_process.h"

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::test;
using namespace std::string_literals;

using MigrationTest = FolderTest;

TEST_F(MigrationTest, ManyValuesComeAcrossBothWays) {
    Values values;
    for (int key = 0; key < 200; ++key) {
        for (int value = 0; value < 100; ++value)
            values["Soft\\K" + std::to_string(key) + ":v" + std::to_string(value)] =
                "text " + std::to_string(key * value);
    }
    writeFile(kFile, iniOf(values));
    ASSERT_EQ(iniToNative(), kOk);
    EXPECT_EQ(nativeValues(), values);
    EXPECT_FALSE(fs::exists(kFile));
    ASSERT_EQ(nativeToIni(), kOk);
    EXPECT_EQ(iniValues(), values);
}

TEST_F(MigrationTest, DeepTreesComeAcrossBothWays) {
    Values values;
    std::string path = "k0";
    for (int level = 1; level < 400; ++level) {
        path += "\\k" + std::to_string(level);
        if (level % 100 == 99)
            values[path + ":v"] = std::to_string(level);
    }
    writeFile(kFile, iniOf(values));
    ASSERT_EQ(iniToNative(), kOk);
    EXPECT_EQ(nativeValues(), values);
    EXPECT_FALSE(fs::exists(kFile));
    ASSERT_EQ(nativeToIni(), kOk);
    EXPECT_EQ(iniValues(), values);
}

// What was moved aside stays, whatever stands at the names for it.
TEST_F(MigrationTest, NothingAsideIsWrittenOver) {
    const std::string aside = kFile + std::string(".unmigrated");
    const std::string text = "[ZV_HKEY_CONFIG\\K]\r\na=b\r\n\r\n[other]\r\nc=d\r\n\r\n";
    writeFile(aside, "first");
    fs::create_directory(aside + ".2");
    fs::create_directory(aside + ".3");
    writeFile(kFile, text);
    EXPECT_EQ(iniToNative(), kOk);
    EXPECT_EQ(readFile(aside), "first");
    EXPECT_TRUE(fs::is_directory(aside + ".2"));
    EXPECT_TRUE(fs::is_directory(aside + ".3"));
    EXPECT_EQ(readFile(aside + ".4"), text);
    EXPECT_FALSE(fs::exists(kFile));
}

constexpr int kConcurrent = 300;

ZV_TEST_ROLE(adder) {
    for (int value = 0; value < kConcurrent; ++value) {
        IniFile file(u"zvregistry.ini"); // a fresh one knows only what is there
        if (file.setValue(u"ZV_HKEY_CONFIG\\W", widen("v" + std::to_string(value)),
                          widen(std::to_string(value)), true) != IniFile::kSet)
            return 1;
    }
    return 0;
}

// A process that adds values while others are being moved out.
TEST_F(MigrationTest, AConcurrentWriterIsNotLost) {
    Values expected;
    for (int value = 0; value < kConcurrent; ++value)
        expected["W:v" + std::to_string(value)] = std::to_string(value);
    SelfProcess writer("adder");
    for (int round = 0; round < 200; ++round)
        EXPECT_EQ(iniToNative(), kOk);
    EXPECT_EQ(writer.join(), 0);
    EXPECT_EQ(iniToNative(), kOk);
    Values found = fileValues();
    found.merge(nativeValues());
    EXPECT_EQ(found, expected);
    EXPECT_FALSE(fs::exists(kFile));
}

// Texts that changed on the way to wide text, or lines that were never read as values, are not
// deleted with the file.
TEST_F(MigrationTest, AFileThatWasNotReadWithoutLossIsMovedAside) {
    std::vector<std::string> files = {"[ZV_HKEY_CONFIG\\K]\na=b\0c\n"s,
                                      "[ZV_HKEY_CONFIG\\K]\na=b\n  indented=c\nd=e\n"};
    if (GetACP() == CP_UTF8)
        files.push_back("[ZV_HKEY_CONFIG\\K]\na=caf\xE9\n");
    for (const std::string& text : files) {
        writeFile(kFile, text);
        EXPECT_EQ(iniToNative(), kOk);
        EXPECT_FALSE(fs::exists(kFile));
        EXPECT_EQ(readFile(kFile + std::string(".unmigrated")), text);
        fs::remove(kFile + std::string(".unmigrated"));
    }
}

// Values that cannot be written are passed over; a source that cannot be read is not an empty one.
TEST_F(MigrationTest, AFileThatCannotBeReadStaysAsItIs) {
    const Values values = {{"A:x", "new"}, {"C:", "new"}};
    putRegistry(registryOf(values));
    fs::create_directory(kFile);
    EXPECT_EQ(nativeToIni(), kOk);
    EXPECT_EQ(iniToNative(), kAccessDenied);
    EXPECT_TRUE(fs::is_directory(kFile));
    EXPECT_EQ(nativeValues(), values);
}

} // namespace
