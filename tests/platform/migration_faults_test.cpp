// The migration where file calls fail and processes die.
#include "core/registry/migration.h"

#include "core/registry/registry_values.h"
#include "platform/child_process.h"
#include "platform/fault_hooks.h"
#include "support/hive_path.h"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::test;

using MigrationFaults = FolderTest;

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
    letGoOfRegistry();
    for (const std::string& name : namesIn("."))
        fs::remove_all(name);
    writeFile(kFile, iniOf(direction.fromFile ? kSource : kTarget));
    putRegistry(registryOf(direction.fromFile ? kTarget : kSource));
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

TEST_F(MigrationFaults, AKilledProcessLosesNothing) {
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

TEST_F(MigrationFaults, AFailingFileCallLosesNothing) {
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

TEST_F(MigrationFaults, ManyValuesAreWrittenInBatches) {
    Values values;
    for (int key = 0; key < 200; ++key) {
        for (int value = 0; value < 100; ++value)
            values["Soft\\K" + std::to_string(key) + ":v" + std::to_string(value)] =
                "text " + std::to_string(key * value);
    }
    putRegistry(registryOf(values));
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
}

} // namespace
