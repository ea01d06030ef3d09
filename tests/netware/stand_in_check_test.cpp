// The check where only the stand-in can lead: every opening of the result file is seen, the system
// is one outside the NT family, the drive table is noise, memory runs out.
#include "core/com/shared_library.h"
#include "core/heap.h"
#include "core/platform_flags.h"
#include "lang/exception.h"
#include "netware/pretend_server.h"
#include "netware/unicode_check.h"
#include "platform/posix/file_seam.h"
#include "support/network_drive.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace zv::netware {
namespace {

using namespace std::string_view_literals;
namespace seam = platform::posix::seam;

constexpr auto kAnswer42 = "\x14\x06\x41\x91\x0D\x38\x48\x17\x81\x00\x23\x94\x21\xE4\x45\x55"
                           "\x00\x00\x00\x2A"sv;

// What the module does, by the attempt to read its file that it goes before: nothing at all, or
// leaves that many bytes of the answer.
struct ModuleAtWork {
    std::filesystem::path file;
    std::vector<std::size_t> bytesBeforeAttempt;
    int opened = 0;
    int deleted = 0;
};
ModuleAtWork module;

seam::Verdict watchFile(seam::FileCall call, const char* what) {
    if (!std::string_view(what).ends_with("/zvinst.dat"))
        return {};
    if (call == seam::FileCall::Unlink)
        ++module.deleted;
    if (call == seam::FileCall::Open) {
        const auto attempt = static_cast<std::size_t>(module.opened++);
        if (attempt < module.bytesBeforeAttempt.size() && module.bytesBeforeAttempt[attempt] != 0)
            test::writeFile(module.file, kAnswer42.substr(0, module.bytesBeforeAttempt[attempt]));
    }
    return {};
}

class StandInCheck : public testing::Test {
protected:
    ~StandInCheck() override {
        seam::setHook(nullptr);
        core::g_bPlatformNT = 1;
    }

    ResultCode check(const char* drive = "F:") {
        return ZVCL::resultFrame([&] { return checkUnicodeSupport(drive); });
    }
    void putTable(std::string_view bytes) { test::writeFile("config/zentrova/drives", bytes); }

    test::ScratchFolder folder;
    test::PretendServer server;
    test::NetworkDrives drives{{{"F:", "\\\\SRV\\SYS", server.volume()}}};
};

TEST_F(StandInCheck, LooksForTheFileSevenTimesAndNotAfterARefusal) {
    const struct {
        const char* script;
        bool nt;
        std::vector<std::size_t> bytesBeforeAttempt;
        ResultCode code;
        int opened;
        int deleted;
    } rows[] = {
        {"", true, {20}, 42, 1, 1},
        {"", true, {0, 0, 20}, 42, 3, 1},
        {"", true, {0, 3, 16, 19, 0, 0, 20}, 42, 7, 1},
        {"", true, {0, 0, 0, 0, 0, 0, 0, 20}, core::kFail, 7, 1}, // one too late
        {"", true, {19}, core::kFail, 7, 1},
        {"NWSMLoadNLM=0x202", true, {20}, kModuleRefused, 0, 1},
        {"NWSMLoadNLM=0x897C", true, {20}, kNoConsoleRights, 0, 1},
        {"NWSMLoadNLM=1", true, {20}, core::kFail, 0, 1},
        {"NWCheckConsolePrivileges=1", true, {20}, kNoConsoleRights, 0, 0},
        {"version=3.12.0", true, {20}, kNoUnicodeSupport, 0, 0},
        {"version=5.0.0", true, {20}, core::kOk, 0, 0},
        {"NWAttachToFileServer=1", true, {20}, core::kFail, 0, 0},
        // Microsoft's client has no code for the load outside the NT family; the others it has.
        {"NWCallsInit=1", false, {20}, kModuleLoadNotSent, 0, 1},
        {"NWCallsInit=1\nversion=5.0.0", false, {20}, core::kOk, 0, 0},
        {"NWCallsInit=1\nncp 0xC8=1", false, {20}, kNoConsoleRights, 0, 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.script) + (row.nt ? "" : ", another family"));
        server.play(row.script);
        module = {server.resultFile(), row.bytesBeforeAttempt};
        core::g_bPlatformNT = row.nt;
        seam::setHook(watchFile);
        EXPECT_EQ(check(), row.code);
        seam::setHook(nullptr);
        EXPECT_EQ(module.opened, row.opened);
        EXPECT_EQ(module.deleted, row.deleted);
        EXPECT_FALSE(std::filesystem::exists(server.resultFile()));
    }
}

TEST_F(StandInCheck, RunsInManyThreadsOfAHost) {
    server.play("version=5.0.0");
    // Loaded throughout: the thread checker does not know of the loader's lock, and takes a library
    // that one thread ends and another begins anew for a race.
    const ZVCL::CZvSharedLibrary callsLibrary(u"calwin32");
    const ZVCL::CZvSharedLibrary clientLibrary(u"clxwin32");
    std::atomic<int> wrong = 0;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&] {
                for (int round = 0; round < 10; ++round)
                    wrong += check(round % 2 == 0 ? "F:" : "f:") != core::kOk;
            });
        }
    }
    EXPECT_EQ(wrong, 0);
    std::map<std::string, int> calls;
    std::istringstream record(server.recorded());
    for (std::string line; std::getline(record, line);)
        ++calls[line];
    EXPECT_EQ(calls["NWAttachToFileServer SRV 0"], 40);
    EXPECT_EQ(calls["NWCallsInit"], 80); // a client and a connection each time
    EXPECT_EQ(calls["NWCallsTerm"], 80);
    EXPECT_EQ(calls["+calwin32"] + calls["+clxwin32"], 2);
    EXPECT_EQ(calls["-calwin32"] + calls["-clxwin32"], 0); // until these two go
}

// Noise that is made of what tables are made of, so that a good part of it is lines.
TEST_F(StandInCheck, NoTableIsADanger) {
    std::mt19937 random(1979);
    constexpr auto pieces = "F|f|:|F: |G: |\\|\\\\SRV|\\\\S\\V| |\t|\r|\n|\r\n|#|\0|\xE9|\xFF"sv;
    std::vector<std::string_view> parts;
    for (std::size_t at = 0; at < pieces.size();) {
        const std::size_t end = std::min(pieces.find('|', at), pieces.size());
        parts.push_back(pieces.substr(at, end - at));
        at = end + 1;
    }
    int found = 0;
    for (int round = 0; round < 500; ++round) {
        std::string table;
        for (unsigned i = random() % 60; i > 0; --i)
            table += parts[random() % parts.size()];
        putTable(table);
        for (const char letter : {'F', 'g', '\xE9', '\0'}) {
            try {
                const ZVCL::CZvString name = FindServerForDrive(letter);
                ++found;
                EXPECT_EQ(name.indexOf(u'\\'), -1) << table;
                EXPECT_TRUE(letter == 'F' || letter == 'g') << table;
            } catch (ZVCL::EZvException& exception) {
                EXPECT_EQ(exception.getMessage().view(), u"Drive not found") << table;
            }
        }
    }
    EXPECT_GT(found, 30);
}

TEST_F(StandInCheck, AnswersTheErrorOfATableThatCannotBeRead) {
    server.play("version=5.0.0");
    std::filesystem::remove("config/zentrova/drives");
    EXPECT_EQ(check(), core::kFail); // no drives
    std::filesystem::create_directories("config/zentrova/drives");
    EXPECT_EQ(check(), core::kAccessDenied);
    EXPECT_EQ(server.recorded(), "");
}

int allocationsLeft;

TEST_F(StandInCheck, WantOfMemoryWhileTheServerIsSoughtHasItsCode) {
    for (int n = 0;; ++n) {
        ASSERT_LT(n, 1000);
        allocationsLeft = n;
        core::setHeapGate([] { return allocationsLeft-- > 0; });
        const ResultCode code = ZVCL::resultFrame([] {
            (void)FindServerForDrive('F');
            return core::kOk;
        });
        core::setHeapGate(nullptr);
        if (allocationsLeft >= 0) {
            EXPECT_EQ(code, core::kOk);
            EXPECT_GT(n, 5);
            break;
        }
        EXPECT_EQ(code, core::kOutOfMemory) << n;
    }
}

} // namespace
} // namespace zv::netware
