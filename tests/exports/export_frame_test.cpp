#include "exports/export_frame.h"

#include "core/heap.h"
#include "lang/string.h"
#include "support/test_folder.h"
#include "zvsupport/zvsupport.h"

#include <new>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace zv::exports {
namespace {

using core::resultFromBits;

TEST(ExportFrame, LetsOutNothingButACode) {
    EXPECT_EQ(exportFrame([] { return core::ResultCode{3}; }), 3);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode {
                  throw ZVCL::EZvResultException(core::kAccessDenied);
              }),
              core::kAccessDenied);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode { throw ZVCL::EZvOutOfMemory(); }),
              core::kOutOfMemory);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode { throw std::bad_alloc(); }),
              core::kOutOfMemory);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode { throw core::EZvCoreException(7); }),
              core::kFail);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode { throw std::runtime_error("x"); }),
              core::kFail);
    EXPECT_EQ(exportFrame([]() -> core::ResultCode { throw 5; }), core::kFail);
}

TEST(ExportFrame, AnswersTheCodeOfAStartThatFailed) {
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    core::setHeapGate([] { return false; });
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    core::setHeapGate(nullptr);
    bool ran = false;
    EXPECT_EQ(exportFrame([&] {
                  ran = true;
                  return core::kOk;
              }),
              core::kOutOfMemory);
    EXPECT_FALSE(ran);
    EXPECT_EQ(RegistryMigrate("NATIVE", 0, "INI", 0), core::kOutOfMemory);
    DllMain(nullptr, DLL_PROCESS_DETACH, nullptr);
    DllMain(nullptr, DLL_PROCESS_ATTACH, nullptr);
    EXPECT_EQ(exportFrame([] { return core::kOk; }), core::kOk);
}

// ---------------------------------------------------------------------------------------------
// Every allocation of a migration fails in turn.

int allocationsLeft;
bool onceOnly;

bool countdown() {
    if (allocationsLeft == 0) {
        if (onceOnly)
            allocationsLeft = -1;
        return false;
    }
    if (allocationsLeft > 0)
        --allocationsLeft;
    return true;
}

class FailingHeap : public test::FolderTest, public testing::WithParamInterface<bool> {
protected:
    // Runs `arrange`, then the migration with its n-th allocation failing, for n = 0, 1, 2 … until
    // none fails; `check` judges what is there after each answer.
    template <typename Arrange, typename Check>
    void failEach(const char* source, const char* target, Arrange arrange, Check check) {
        onceOnly = GetParam();
        for (int n = 0;; ++n) {
            ASSERT_LT(n, 20000);
            arrange();
            test::letGoOfRegistry();
            allocationsLeft = n;
            core::setHeapGate(countdown);
            const core::ResultCode code = RegistryMigrate(source, 0, target, 0);
            core::setHeapGate(nullptr);
            const bool failed = allocationsLeft <= 0;
            test::letGoOfRegistry();
            EXPECT_TRUE(code == core::kOk || code == core::kOutOfMemory) << n << ": " << code;
            check(n, code);
            if (!failed || testing::Test::HasFailure()) {
                EXPECT_EQ(code, core::kOk);
                break;
            }
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Heap, FailingHeap, testing::Bool(), [](const auto& once) {
    return std::string(once.param ? "Once" : "FromThenOn");
});

const char kRegistry[] =
    "[HKEY_LOCAL_MACHINE\\Software\\Key with a long name]\n"
    "\"a value with a long name\"=\"a text with some length to it\"\n"
    "\"another value with a long name\"=\"another text with some length\"\n\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Key with a long name\\Sub]\n\"x\"=\"y\"\n\n";
const char kIni[] = "[ZV_HKEY_CONFIG\\Software\\Key with a long name]\r\n"
                    "a value with a long name=a text with some length to it\r\n"
                    "another value with a long name=another text with some length\r\n\r\n"
                    "[ZV_HKEY_CONFIG\\Software\\Key with a long name\\Sub]\r\nx=y\r\n\r\n";

TEST_P(FailingHeap, IntoTheFileEndsWithTheCodeOrAWholeFile) {
    test::putRegistry(kRegistry);
    const std::string before = test::registrySnapshot();
    failEach(
        "NATIVE", "INI", [] { std::filesystem::remove("zvregistry.ini"); },
        [&](int n, core::ResultCode code) {
            EXPECT_EQ(test::registrySnapshot(), before) << n;
            if (code == core::kOk) { // whatever could not be had: nothing is missing
                EXPECT_EQ(test::readFile("zvregistry.ini"), kIni) << n;
            }
        });
}

TEST_P(FailingHeap, OutOfTheFileLosesNothing) {
    failEach(
        "INI", "NATIVE",
        [] {
            test::putRegistry("");
            std::filesystem::remove("zvregistry.ini.unmigrated");
            test::writeFile("zvregistry.ini", kIni);
        },
        [&](int n, core::ResultCode code) {
            const bool kept = test::readFile("zvregistry.ini") == kIni ||
                              test::readFile("zvregistry.ini.unmigrated") == kIni;
            if (code != core::kOk) {
                EXPECT_TRUE(kept) << n;
            } else if (!kept) {
                // The file went away, so all of it has to be in the registry.
                EXPECT_EQ(RegistryMigrate("NATIVE", 0, "INI", 0), core::kOk);
                EXPECT_EQ(test::readFile("zvregistry.ini"), kIni) << n;
                test::letGoOfRegistry();
            }
        });
}

} // namespace
} // namespace zv::exports
