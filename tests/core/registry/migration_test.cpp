#include "core/registry/migration.h"

#include "core/registry/fault_hooks.h"
#include "core/registry/ini_file.h"
#include "core/registry/ini_text.h"
#include "core/registry/registry_module.h"
#include "platform/child_process.h"
#include "support/test_folder.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::core;
using namespace zv::test;
using namespace std::string_literals;

using MigrationTest = FolderTest;
using Values = std::map<std::string, std::string>; // "Key:name" to text, below HKEY_LOCAL_MACHINE

constexpr const char* kFile = "zvregistry.ini";
constexpr std::string_view kPrefix = "ZV_HKEY_CONFIG\\";

ResultCode migrate(BackendKind source, BackendKind target) {
    return MigrateRegistry(source, 0, target, 0);
}
ResultCode nativeToIni() {
    return migrate(BackendKind::Native, BackendKind::Ini);
}
ResultCode iniToNative() {
    return migrate(BackendKind::Ini, BackendKind::Native);
}

void addValues(Values& values, const fs::path& file) {
    IniTable table;
    table.parse(readFile(file));
    for (const auto& [name, section] : table.sections()) {
        for (const auto& entry : section.keys) {
            if (const std::string key = narrow(name); key.starts_with(kPrefix))
                values[key.substr(kPrefix.size()) + ':' + narrow(entry->key())] =
                    narrow(entry->value());
        }
    }
}

Values iniValues() {
    Values values;
    addValues(values, kFile);
    return values;
}

// What every file of the current folder holds, those that were moved aside too.
Values fileValues() {
    Values values;
    for (const std::string& name : namesIn(".")) {
        if (name.starts_with(kFile))
            addValues(values, name);
    }
    return values;
}

Values nativeValues() {
    zv::platform::posix::closeRegistry();
    Values values;
    std::vector<CoreRef<CRegKey>> open;
    open.push_back(CreateRegKey(HKEY_LOCAL_MACHINE_VALUE, u"", BackendKind::Native));
    while (!open.empty()) {
        const CoreRef<CRegKey> key = open.back();
        open.pop_back();
        while (key->hasNextValue()) {
            const std::u16string name = key->nextValue();
            char16_t text[1024];
            std::uint32_t size = sizeof text;
            RegValueType type = kRegBinary;
            EXPECT_EQ(key->queryValue(name.c_str(), type, text, size), kOk);
            values[narrow(key->getPath()) + ':' + narrow(name)] = narrow(text);
        }
        while (key->hasNextSubKey())
            open.push_back(key->nextSubKey());
    }
    zv::platform::posix::closeRegistry();
    return values;
}

std::string iniOf(const Values& values) {
    IniTable table;
    for (const auto& [place, text] : values) {
        const std::size_t split = place.find(':');
        table.set(widen(std::string(kPrefix) + place.substr(0, split)),
                  IniEntry::make(widen(place.substr(split + 1)), widen(text)));
    }
    return table.write();
}

std::string hiveOf(const Values& values) {
    std::ostringstream lines;
    for (const auto& [place, text] : values) {
        const std::size_t split = place.find(':');
        lines << "[HKEY_LOCAL_MACHINE\\" << place.substr(0, split) << "]\n\""
              << place.substr(split + 1) << "\"=\"" << text << "\"\n\n";
    }
    return hiveBytes(lines.str());
}

const Values kSource = {{"A:x", "new"}, {"A:y", "new"}, {"A\\B:x", "new"}, {"C:", "new"}};
const Values kTarget = {{"A:x", "old"}, {"A\\B:z", "old"}, {"C:", "old"}, {"D:q", "old"}};

// Every value of one of the stores is in what was found, and nothing that is in neither.
void expectOldOrNew(const Values& found, const Values& old) {
    for (const auto& [place, text] : old)
        EXPECT_TRUE(found.contains(place)) << place;
    for (const auto& [place, text] : found) {
        const auto before = old.find(place);
        const auto after = kSource.find(place);
        EXPECT_TRUE((before != old.end() && before->second == text) ||
                    (after != kSource.end() && after->second == text))
            << place << "=" << text;
    }
}

Values merged() {
    Values values = kSource;
    values.insert(kTarget.begin(), kTarget.end());
    return values;
}

struct Direction {
    const char* name;
    ResultCode (*run)();
    Values (*target)();
    bool fromFile;
};
const Direction kDirections[] = {{"NATIVE to INI", nativeToIni, iniValues, false},
                                 {"INI to NATIVE", iniToNative, nativeValues, true}};

void begin(const Direction& direction) {
    zv::platform::posix::closeRegistry();
    for (const std::string& name : namesIn("."))
        fs::remove_all(name);
    writeFile(kFile, iniOf(direction.fromFile ? kSource : kTarget));
    writeFile(hivePath(), hiveOf(direction.fromFile ? kTarget : kSource));
}

// What a migration that was broken off or hindered must have left, and that the next one ends it.
void expectNothingLost(const Direction& direction) {
    expectOldOrNew(direction.target(), kTarget);
    Values somewhere = direction.fromFile ? fileValues() : nativeValues();
    if (direction.fromFile) {
        for (const auto& [place, text] : nativeValues()) {
            if (text == "new")
                somewhere[place] = text;
        }
    }
    EXPECT_EQ(somewhere, kSource);

    const bool aside = fs::exists(kFile + std::string(".unmigrated"));
    if (aside) // the hand that it is left for
        fs::rename(kFile + std::string(".unmigrated"), kFile);
    EXPECT_EQ(direction.run(), kOk);
    EXPECT_EQ(direction.target(), merged());
    std::set<std::string> names = {"data"};
    if (!direction.fromFile)
        names.insert(kFile);
    EXPECT_EQ(namesIn("."), names);
    EXPECT_EQ(namesIn(hivePath().parent_path()),
              direction.fromFile ? (std::set<std::string>{"registry.reg", "registry.reg.lock"})
                                 : namesIn(hivePath().parent_path()));
}

TEST_F(MigrationTest, AKilledProcessLosesNothing) {
    for (const Direction& direction : kDirections) {
        int died = 0;
        for (const std::size_t limit : {std::size_t{0}, std::size_t{31}, SIZE_MAX}) {
            bool reached = true;
            for (int call = 1; reached && !HasFailure(); ++call) {
                SCOPED_TRACE(testing::Message()
                             << direction.name << ", call " << call << ", moved " << limit);
                begin(direction);
                Child child([&](const Child&) {
                    const FaultHold hold({call, 0, false, limit});
                    return direction.run() == kOk ? 0 : 1;
                });
                const int status = child.join();
                reached = status == seam::kExitStatus;
                died += reached;
                if (!reached) {
                    ASSERT_EQ(status, 0);
                }
                expectNothingLost(direction);
            }
        }
        EXPECT_GT(died, 30);
    }
}

TEST_F(MigrationTest, AFailingFileCallLosesNothing) {
    for (const Direction& direction : kDirections) {
        for (const int error : {ENOSPC, EIO, EACCES}) {
            for (const bool on : {false, true}) {
                bool reached = true;
                for (int call = 1; reached && !HasFailure(); ++call) {
                    SCOPED_TRACE(testing::Message() << direction.name << ", errno " << error
                                                    << ", call " << call << (on ? " on" : ""));
                    begin(direction);
                    {
                        const FaultHold hold({call, error, on, 31});
                        EXPECT_LE(direction.run(), kOk);
                        reached = hold.reached();
                    }
                    expectNothingLost(direction);
                }
            }
        }
    }
}

std::atomic<std::size_t> bytesWritten{0};

TEST_F(MigrationTest, ManyValuesAreWrittenInBatches) {
    Values values;
    for (int key = 0; key < 200; ++key) {
        for (int value = 0; value < 100; ++value)
            values["Soft\\K" + std::to_string(key) + ":v" + std::to_string(value)] =
                "text " + std::to_string(key * value);
    }
    writeFile(hivePath(), hiveOf(values));
    const seam::Hook sum = [](seam::FileCall call, const char* what) {
        // A hook is not told how much a write is given; the new file's size tells.
        if (call == seam::FileCall::Rename && std::string_view(what).ends_with(kFile)) {
            for (const std::string& name : namesIn(".")) {
                if (name.ends_with(".zvtmp"))
                    bytesWritten += fs::file_size(name);
            }
        }
        return seam::Verdict{};
    };
    bytesWritten = 0;
    seam::setHook(sum);
    EXPECT_EQ(nativeToIni(), kOk);
    seam::setHook(nullptr);
    EXPECT_EQ(iniValues(), values);
    const std::uintmax_t size = fs::file_size(kFile);
    EXPECT_GE(bytesWritten, size);
    EXPECT_LT(bytesWritten, 3 * size);

    fs::remove(hivePath());
    EXPECT_EQ(iniToNative(), kOk);
    EXPECT_EQ(nativeValues(), values);
    EXPECT_FALSE(fs::exists(kFile));
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
    fs::create_symlink("nowhere", aside + ".3");
    writeFile(kFile, text);
    EXPECT_EQ(iniToNative(), kOk);
    EXPECT_EQ(readFile(aside), "first");
    EXPECT_TRUE(fs::is_directory(aside + ".2"));
    EXPECT_TRUE(fs::is_symlink(aside + ".3"));
    EXPECT_EQ(readFile(aside + ".4"), text);
    EXPECT_FALSE(fs::exists(kFile));
}

// A process that adds values while others are being moved out.
TEST_F(MigrationTest, AConcurrentWriterIsNotLost) {
    constexpr int kValues = 300;
    Values expected;
    for (int value = 0; value < kValues; ++value)
        expected["W:v" + std::to_string(value)] = std::to_string(value);
    Child writer([](const Child& self) {
        self.tell();
        for (int value = 0; value < kValues; ++value) {
            IniFile file(u"zvregistry.ini"); // a fresh one knows only what is there
            if (file.setValue(u"ZV_HKEY_CONFIG\\W", widen("v" + std::to_string(value)),
                              widen(std::to_string(value)), true) != IniFile::kSet)
                return 1;
        }
        return 0;
    });
    writer.awaitTold();
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
    const std::string files[] = {
        "[ZV_HKEY_CONFIG\\K]\na=b\0c\n"s,
        "[ZV_HKEY_CONFIG\\K]\na=caf\xE9\n",
        "[ZV_HKEY_CONFIG\\K]\na=b\n  indented=c\nd=e\n",
    };
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
    writeFile(hivePath(), hiveOf(kSource));
    fs::create_directory(kFile);
    EXPECT_EQ(nativeToIni(), kOk);
    EXPECT_EQ(iniToNative(), kAccessDenied);
    EXPECT_TRUE(fs::is_directory(kFile));
    EXPECT_EQ(nativeValues(), kSource);
}

} // namespace
