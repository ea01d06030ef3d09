// The check as a host meets it: zvctl in a folder of its own with those client libraries beside it
// that a test puts there.
#include "netware/pretend_server.h"
#include "support/network_drive.h"
#include "support/run_program.h"
#include "support/scratch_folder.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iomanip>
#include <optional>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using zv::test::NetworkDrives;
using zv::test::readFile;
using zv::test::writeFile;

constexpr std::uint32_t kFail = 0x80004005;
constexpr std::uint32_t kNoUnicode = 0x804E0001;
constexpr std::uint32_t kRefused = 0x804E0202;
constexpr std::uint32_t kNoRights = 0x804E897C;

// The header of a result file, to be followed by eight digits.
const std::string kHeader = "140641910D38481781002394"
                            "21E44555";

// What zvctl says of the codes.
constexpr std::pair<std::uint32_t, std::string_view> kWords[] = {
    {0, "the server supports Unicode"},
    {kNoUnicode, "the server does not support Unicode"},
    {kRefused, "refused to load"},
    {kNoRights, "no console operator rights"},
    {0x804E9800, "cannot ask the server"},
    {0x80070005, "access denied"},
    {kFail, "no server behind the drive"},
    {0x804E9801, "a failure"},
    {0x7FFFFFFF, "a success"},
};

fs::path libraryIn(const fs::path& folder, const std::string& name) {
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().stem() == name)
            return entry.path();
    }
    throw std::runtime_error("no " + name);
}

bool contains(const std::string& text, std::string_view part) {
    return text.find(part) != text.npos;
}

int count(const std::string& text, std::string_view part) {
    int found = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size()))
        ++found;
    return found;
}

class Check : public testing::Test {
protected:
    Check() : host(folder.path() / "host") {
        fs::create_directory(host);
        fs::copy_file(ZV_CTL, host / fs::path(ZV_CTL).filename());
    }

    // Puts client libraries beside the host in place of those that were there: "name", or "-name"
    // for one that lacks an entry point.
    void install(const std::vector<std::string>& names) {
        for (const char* name : {"calwin32", "clxwin32", "nwapi32"})
            fs::remove(host / libraryIn(ZV_WHOLE_LIBRARIES, name).filename());
        for (const std::string& name : names) {
            const bool torn = name.front() == '-';
            const fs::path library = libraryIn(torn ? ZV_TORN_LIBRARIES : ZV_WHOLE_LIBRARIES,
                                               torn ? name.substr(1) : name);
            fs::copy_file(library, host / library.filename());
        }
    }

    // The code of a check.
    std::uint32_t check(const std::string& drive = "F:") const {
        const zv::test::Outcome outcome =
            zv::test::runProgram((host / fs::path(ZV_CTL).filename()).string(),
                                 "--library \"" ZV_LIBRARY "\" check-unicode \"" + drive + '"');
        EXPECT_TRUE(outcome.output.starts_with("0x")) << outcome.output;
        const auto code =
            static_cast<std::uint32_t>(std::strtoul(outcome.output.c_str(), nullptr, 16));
        for (const auto& [known, words] : kWords) {
            EXPECT_TRUE(code != known || contains(outcome.output, words)) << outcome.output;
        }
        return code;
    }

    // What was begun is ended: libraries, sessions, attachments.
    void expectAllGivenBack() const {
        const std::string record = server.recorded();
        for (const char* name : {"calwin32", "clxwin32", "nwapi32"})
            EXPECT_EQ(count(record, std::string("+") + name),
                      count(record, std::string("-") + name));
        EXPECT_EQ(count(record, "NWCallsInit"), count(record, "NWCallsTerm")) << record;
        EXPECT_EQ(count(record, "attach SRV"), count(record, "detach\n")) << record;
    }

    zv::test::ScratchFolder folder;
    zv::test::PretendServer server;
    NetworkDrives drives{{{"F:", "\\\\SRV\\SYS", server.volume()}}};
    fs::path host;
};

struct Row {
    const char* what;
    std::string novell;    // the server's script for one stack
    std::string microsoft; // and for the other
    std::uint32_t code;
    bool asksTheModule = true;
    std::optional<std::uint32_t> microsoftCode{}; // where it is another one
};

std::string withFile(const std::string& bytes) {
    return "file=" + bytes;
}

std::vector<Row> answers() {
    const std::string yes = withFile(kHeader + "00000000");
    std::vector<Row> rows = {
        {"version 0", "version=0.0.0", "version=0.0.0", kNoUnicode, false},
        {"version 3", "version=3.12.0", "version=3.12.0", kNoUnicode, false},
        {"version 5", "version=5.0.0", "version=5.0.0", 0, false},
        {"version 6", "version=6.50.0", "version=6.50.0", 0, false},
        {"version 4", "version=4.11.0\n" + yes, "version=4.11.0\n" + yes, 0},
        {"no version", "NWGetFileServerVersionInfo=1\n" + withFile(kHeader + "804E0001"),
         "ncp 0x11=1\n" + withFile(kHeader + "804E0001"), kNoUnicode},
        {"no rights", "NWCheckConsolePrivileges=1\n" + yes, "ncp 0xC8=1\n" + yes, kNoRights, false},
        // A refusal is the answer whatever the file says.
        {"refused", "NWSMLoadNLM=0x202\n" + yes, "completion=0x202\n" + yes, kRefused},
        {"no rights to load", "NWSMLoadNLM=0x897C\n" + yes, "ncp 0x1=5\n" + yes, kNoRights, true,
         kFail},
        {"another refusal", "NWSMLoadNLM=0x8901\n" + yes, "completion=0x897C\n" + yes, kFail},
        {"never", "", "", kFail},
        {"short", withFile(kHeader + "000000"), withFile(kHeader + "000000"), kFail},
        {"empty", withFile(""), withFile("00"), kFail},
        {"another version", withFile("24" + kHeader.substr(2) + "00000000"),
         withFile(kHeader.substr(0, 30) + "5600000000"), kFail},
        {"longer", yes + "FFFF", yes + "FF", 0},
    };
    for (const char* code : {"00000001", "7FFFFFFF", "80000000", "80070005", "804E0001", "804E9800",
                             "804E9801", "FFFFFFFF"})
        rows.push_back({code, withFile(kHeader + code), withFile(kHeader + code),
                        static_cast<std::uint32_t>(std::strtoul(code, nullptr, 16))});
    return rows;
}

TEST_F(Check, AnswersByVersionModuleAndFile) {
    for (const bool novell : {true, false}) {
        install(novell ? std::vector<std::string>{"calwin32", "clxwin32"}
                       : std::vector<std::string>{"nwapi32"});
        for (const Row& row : answers()) {
            SCOPED_TRACE(std::string(row.what) + (novell ? ", Novell" : ", Microsoft"));
            server.play(novell ? row.novell : row.microsoft);
            writeFile(server.resultFile(), "left behind");
            EXPECT_EQ(check(), novell ? row.code : row.microsoftCode.value_or(row.code));
            const std::string record = server.recorded();
            EXPECT_EQ(contains(record, "nwzvinst -CheckUnicodeSupport=zvinst.dat") ||
                          contains(record, " 0x14120F "),
                      row.asksTheModule);
            EXPECT_EQ(fs::exists(server.resultFile()), !row.asksTheModule);
            expectAllGivenBack();
        }
    }
}

TEST_F(Check, WaitsForTheFile) {
    install({"calwin32", "clxwin32"});
    server.play("");
    std::thread module([&] {
        while (!contains(server.recorded(), "NWSMLoadNLM"))
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        // In one step, as a whole file.
        const char bytes[] = "\x14\x06\x41\x91\x0D\x38\x48\x17\x81\x00\x23\x94\x21\xE4\x45\x55"
                             "\x00\x00\x00\x2A";
        writeFile(server.volume() / "new", std::string_view(bytes, 20));
        fs::rename(server.volume() / "new", server.resultFile());
    });
    EXPECT_EQ(check(), 0x2Au);
    module.join();
    EXPECT_FALSE(fs::exists(server.resultFile()));
}

TEST_F(Check, TakesNovellsStackAndMicrosoftsWhenAnythingOfItIsMissing) {
    const struct {
        std::vector<std::string> libraries;
        const char* script;
        std::uint32_t code;
        const char* asked; // the line of the stack that was used; null for neither
    } rows[] = {
        {{"calwin32", "clxwin32", "nwapi32"}, "", 0, "NWAttachToFileServer SRV"},
        {{"nwapi32"}, "", 0, "\nattach SRV"},
        {{"calwin32", "nwapi32"}, "", 0, "\nattach SRV"},
        {{"clxwin32", "nwapi32"}, "", 0, "\nattach SRV"},
        {{"-calwin32", "clxwin32", "nwapi32"}, "", 0, "\nattach SRV"},
        {{"calwin32", "-clxwin32", "nwapi32"}, "", 0, "\nattach SRV"},
        {{"calwin32", "clxwin32", "nwapi32"}, "NWCallsInit=1", 0, "\nattach SRV"},
        {{"calwin32", "clxwin32"}, "NWCallsInit=1", kFail, nullptr},
        {{"-nwapi32"}, "", kFail, nullptr},
        {{}, "", kFail, nullptr},
        // A stack that can be started is the one that is asked.
        {{"calwin32", "clxwin32", "nwapi32"},
         "NWAttachToFileServer=0x8847",
         kFail,
         "NWAttachToFileServer SRV"},
        {{"calwin32", "clxwin32"}, "NWAttachToFileServer=0x8800", 0, "NWAttachToFileServer SRV"},
    };
    for (const auto& row : rows) {
        install(row.libraries);
        server.play("version=5.0.0\n" + std::string(row.script));
        EXPECT_EQ(check(), row.code) << row.script;
        const std::string record = '\n' + server.recorded();
        for (const char* line : {"NWAttachToFileServer SRV", "\nattach SRV"})
            EXPECT_EQ(contains(record, line),
                      row.asked != nullptr && row.asked == std::string(line))
                << record;
        if (std::string(row.script) != "NWCallsInit=1")
            expectAllGivenBack();
    }
}

TEST_F(Check, FindsTheServerOfTheDrive) {
    install({"nwapi32"});
    std::vector<zv::test::NetworkDrive> connected;
    for (char letter = 'H'; letter <= 'Z'; ++letter) // far more than the first area holds
        connected.push_back(
            {std::string(1, letter) + ':', "\\\\OTHER\\" + std::string(200, letter), {}});
    connected.push_back({"g:", "\\\\\\LONE", server.volume()});
    connected.push_back({"F:", "\\\\SRV\\SYS\\folder", server.volume()});
    const NetworkDrives many(connected);
    const struct {
        const char* drive;
        std::uint32_t code;
        const char* server;
    } rows[] = {
        {"F:", 0, "attach SRV 0"},
        {"f:", 0, "attach SRV 0"},
        {"f", 0, "attach SRV 0"},
        {"G:\\sub", 0, "attach LONE 0"},
        {"z:", 0, "attach OTHER 0"},
        {"E:", kFail, nullptr},
        {"", kFail, nullptr},
        {":", kFail, nullptr},
        {"1:", kFail, nullptr},
        {"\xC3\xA4:", kFail, nullptr},
        {"\\\\SRV\\SYS", kFail, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.drive);
        server.play("version=5.0.0");
        EXPECT_EQ(check(row.drive), row.code);
        if (row.server == nullptr)
            EXPECT_EQ(server.recorded(), "");
        else
            EXPECT_TRUE(contains(server.recorded(), row.server)) << server.recorded();
    }
}

TEST_F(Check, LongAndCrookedDriveTextsAreNoDanger) {
    install({"calwin32", "clxwin32"});
    for (const std::string& drive :
         {"F:" + std::string(1000, 'x'), std::string("F:::"), std::string("F:\x80\xFF")}) {
        server.play(withFile(kHeader + "00000000"));
        EXPECT_EQ(check(drive), kFail) << drive;
        expectAllGivenBack();
        fs::remove(server.resultFile());
    }
}

TEST_F(Check, WhateverTheServerAnswersTheHostGoesOn) {
    install({"nwapi32"});
    std::mt19937 random(20031029);
    for (int round = 0; round < 12; ++round) {
        std::ostringstream script;
        script << "reply=" << std::hex << std::setfill('0');
        for (unsigned i = random() % 140; i > 0; --i)
            script << std::setw(2) << random() % 256;
        script << "\nname=" << std::string(random() % 100, 'x') << '\n';
        server.play(script.str());
        check();
        expectAllGivenBack();
    }
}

TEST_F(Check, TwoAtOnceDoNotMeetWhenTheVersionDecides) {
    install({"nwapi32"});
    server.play("version=5.0.0");
    std::uint32_t codes[2] = {kFail, kFail};
    std::thread other([&] { codes[1] = check(); });
    codes[0] = check();
    other.join();
    EXPECT_EQ(codes[0], 0u);
    EXPECT_EQ(codes[1], 0u);
    expectAllGivenBack();
}

} // namespace
