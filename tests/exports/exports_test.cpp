// The two functions as a host process meets them: through the loaded library, with real files.
#include "zvsupport/zvsupport.h"

#include "exports/c_host.h"
#include "exports/host_heap.h"
#include "exports/library_facts.h"
#include "support/scratch_folder.h"
#include "support/self_process.h"

#include <atomic>
#include <chrono>
#include <clocale>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::test;

constexpr std::int32_t code(std::uint32_t bits) {
    return static_cast<std::int32_t>(bits);
}
constexpr std::int32_t kInvalidArgument = code(0x80070057);

class Library {
public:
    Library() : module(hostLoad(ZV_LIBRARY)) {
        if (module == nullptr)
            throw std::runtime_error("the library cannot be loaded");
        migrateFunction =
            reinterpret_cast<decltype(&RegistryMigrate)>(hostFind(module, "RegistryMigrate"));
        checkFunction = reinterpret_cast<decltype(&NWCheckUnicodeSupport)>(
            hostFind(module, "NWCheckUnicodeSupport"));
    }
    ~Library() { hostUnload(module, ZV_LIBRARY); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    std::int32_t migrate(const char* source, const char* target) const {
        return migrateFunction(source, 0, target, 0);
    }
    std::int32_t check(const char* drive) const { return checkFunction(drive); }

private:
    void* module;
    decltype(&RegistryMigrate) migrateFunction;
    decltype(&NWCheckUnicodeSupport) checkFunction;
};

class Exports : public testing::Test {
protected:
    // The ANSI code page is 1252, where it follows the locale and where it does not.
    Exports() {
        setVariable("LC_ALL", "C");
        library = std::make_unique<Library>();
    }

    ScratchFolder folder;
    std::unique_ptr<Library> library;
};

TEST_F(Exports, NothingButTheTwoNamesIsExported) {
    EXPECT_EQ(exportedNames(ZV_LIBRARY),
              (std::set<std::string>{"NWCheckUnicodeSupport", "RegistryMigrate"}));
}

TEST_F(Exports, EveryRefusalAnswersItsCodeAndTouchesNothing) {
    struct Row {
        const char* source;
        const char* target;
        std::int32_t code;
    };
    const Row rows[] = {
        {nullptr, "INI", kInvalidArgument},       {"INI", nullptr, kInvalidArgument},
        {nullptr, nullptr, kInvalidArgument},     {"", "INI", kInvalidArgument},
        {"INI ", "NATIVE", kInvalidArgument},     {" INI", "NATIVE", kInvalidArgument},
        {"INI", "NATIV", kInvalidArgument},       {"INIT", "NATIVE", kInvalidArgument},
        {"NATIVE", "REGISTRY", kInvalidArgument}, {"IN\xC3\x8F", "NATIVE", kInvalidArgument},
        {"INI", "INI", kInvalidArgument},         {"ini", "Ini", kInvalidArgument},
        {"FILE", "INI", code(0x80004007)},        {"file", "NATIVE", code(0x80004007)},
        {"NATIVE", "FILE", code(0x80004007)},     {"INI", "FILE", code(0x80004007)},
        {"FILE", "FILE", code(0x80004007)},       {"FILE", "nobody", kInvalidArgument},
    };
    putRegistry("[HKEY_LOCAL_MACHINE\\K]\n\"a\"=\"b\"\n\n");
    const std::string before = registrySnapshot();
    const std::string ini = "[ZV_HKEY_CONFIG\\K]\r\nc=d\r\n\r\n";
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << (row.source ? row.source : "null") << " to "
                                        << (row.target ? row.target : "null"));
        writeFile("zvregistry.ini", ini);
        EXPECT_EQ(library->migrate(row.source, row.target), row.code);
        EXPECT_EQ(registrySnapshot(), before);
        EXPECT_EQ(readFile("zvregistry.ini"), ini);
        EXPECT_FALSE(fs::exists("zvregistry.ini.unmigrated"));
    }
}

TEST_F(Exports, TheUnicodeCheckWantsADriveOfTheNetwork) {
    EXPECT_EQ(library->check("F:"), code(0x80004005)); // no such drive
    EXPECT_EQ(library->check(nullptr), kInvalidArgument);
}

TEST_F(Exports, LoadingOpensNothingOfTheRegistry) {
    EXPECT_EQ(registrySnapshot(), "");
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(Exports, LoadingSetsTheLocaleAndNothingElse) {
    library.reset();
    setVariable("LC_ALL", "C.UTF-8");
    const std::string users = std::setlocale(LC_ALL, "");
    std::setlocale(LC_ALL, "C");
    library = std::make_unique<Library>();
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), users);
}

TEST_F(Exports, TheHostsOwnAllocationsStayItsOwn) {
    putRegistry("[HKEY_LOCAL_MACHINE\\K]\n\"a\"=\"b\"\n\n");
    const long before = hostAllocations;
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    EXPECT_EQ(hostAllocations, before);
}

TEST_F(Exports, NativeToIniWritesExactlyTheTextsInMapOrder) {
    setVariable("ZV_TEST_HOME", "C:\\Home");
    const std::string longest(1023, 'x'); // 2048 bytes with its terminator
    const std::string tooLong(1024, 'y');
    putRegistry("[HKEY_LOCAL_MACHINE\\Software\\zeta]\n"
                "\"number\"=dword:00000001\n"
                "\"binary\"=hex:01,02\n"
                "\"none\"=hex(0):\n"
                "\"list\"=hex(7):61,00,00,00,00,00\n"
                "\"big\"=hex(5):00,00,00,01\n"
                "\"quad\"=hex(b):01,00,00,00,00,00,00,00\n"
                "\"b\"=\"two\"\n\"A\"=\"one\"\n@=\"default\"\n"
                "\"longest\"=\"" +
                longest +
                "\"\n"
                "\"tooLong\"=\"" +
                tooLong +
                "\"\n\n"
                "[HKEY_LOCAL_MACHINE\\Software\\Alpha\\Sub]\n"
                "\"\u00FCber\"=\"\u20AC\u0153\u00DF \u4E2D\"\n"
                "\"x\"=hex(2):25,00,5a,00,56,00,5f,00,54,00,45,00,53,00,54,00,"
                "5f,00,48,00,4f,00,4d,00,45,00,25,00,5c,00,64,00,00,00\n\n"
                "[HKEY_LOCAL_MACHINE\\Software\\Empty\\Deep]\n\n"
                "[HKEY_CLASSES_ROOT\\.zvd]\n@=\"Zentrova\"\n\n"
                "[HKEY_CURRENT_USER\\Me]\n\"k\"=\"v=w\"\n\n");
    const std::string before = registrySnapshot();
    EXPECT_EQ(library->migrate("native", "iNi"), 0);
    EXPECT_EQ(readFile("zvregistry.ini"), "[ZV_HKEY_CLASSES\\.zvd]\r\n=Zentrova\r\n\r\n"
                                          "[ZV_HKEY_CONFIG\\Software\\Alpha\\Sub]\r\n"
                                          "x=C:\\Home\\d\r\n\xFC"
                                          "ber=\x80\x9C\xDF ?\r\n\r\n"
                                          "[ZV_HKEY_CONFIG\\Software\\zeta]\r\n"
                                          "=default\r\nA=one\r\nb=two\r\nlongest=" +
                                              longest +
                                              "\r\n\r\n"
                                              "[ZV_HKEY_USER\\" +
                                              userName() + "\\Me]\r\nk=v=w\r\n\r\n");
    EXPECT_EQ(registrySnapshot(), before);
}

TEST_F(Exports, IniToNativeReadsHandWrittenFilesAndDeletesThem) {
    writeFile("zvregistry.ini", "; a comment\n# another\nkey=outside\n"
                                "[ZV_HKEY_CONFIG\\Soft ware\\A]] text behind\r\n"
                                "  Path =  C:\\data  \r\n" // white space ends the section
                                "lost=outside a section\r\n"
                                "[ZV_HKEY_CONFIG\\B\\C] ; note\n"
                                "a = b = c \nA=again\n=default\nempty=\n"
                                "\n"
                                "[ZV_HKEY_CLASSES\\x]\nlast=no line end");
    EXPECT_EQ(library->migrate("INI", "NATIVE"), 0);
    EXPECT_FALSE(fs::exists("zvregistry.ini"));
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    EXPECT_EQ(readFile("zvregistry.ini"), "[ZV_HKEY_CLASSES\\x]\r\nlast=no line end\r\n\r\n"
                                          "[ZV_HKEY_CONFIG\\B\\C]\r\n=default\r\na=again\r\n"
                                          "empty=\r\n\r\n");
}

TEST_F(Exports, WhatCannotBeCarriedOutOfAFileStaysOnDisk) {
    const std::string files[] = {
        "[ZV_HKEY_CONFIG\\K]\r\na=b\r\nlong=" + std::string(1024, 'x') + "\r\n\r\n",
        "[ZV_HKEY_CONFIG\\K]\r\na=b\r\n\r\n[ZV_HKEY_CONFIG\\M]\r\nmalformed\r\nc=d\r\n\r\n",
        "[ZV_HKEY_CONFIG\\K]\r\na=b\r\n\r\n[ZV_HKEY_USER\\somebody else\\K]\r\nc=d\r\n\r\n",
        "[ZV_HKEY_CONFIG\\K]\r\na=b\r\n\r\n[General]\r\nc=d\r\n\r\n",
    };
    int moved = 0;
    for (const std::string& file : files) {
        writeFile("zvregistry.ini", file);
        EXPECT_EQ(library->migrate("INI", "NATIVE"), 0);
        EXPECT_FALSE(fs::exists("zvregistry.ini"));
        // Nothing that was moved aside before is overwritten.
        const std::string suffix = ++moved == 1 ? "" : "." + std::to_string(moved);
        EXPECT_EQ(readFile("zvregistry.ini.unmigrated" + suffix), file);
    }
}

TEST_F(Exports, ANameOrTextThatWouldDamageTheFileIsLeftOut) {
    putRegistry("[HKEY_LOCAL_MACHINE\\K]\n"
                "\"a=b\"=\"1\"\n\" lead\"=\"2\"\n\"good\"=\"3\"\n"
                "\"lines\"=hex(1):61,00,0d,00,0a,00,62,00,00,00\n"
                "\"zero\"=hex(1):61,00,00,00,62,00,00,00\n\n");
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    const std::string ini = readFile("zvregistry.ini");
    EXPECT_EQ(ini.find("a=b"), std::string::npos);
    EXPECT_EQ(ini.find("lines"), std::string::npos);
    EXPECT_EQ(ini.find("lead"), std::string::npos);
    EXPECT_NE(ini.find("\r\ngood=3\r\n"), std::string::npos);
}

TEST_F(Exports, NativeToNativeLeavesEveryValueAsItIs) {
    putRegistry("[HKEY_LOCAL_MACHINE\\K]\n\"big\"=hex(5):00,00,00,01\n"
                "\"expand\"=hex(2):25,00,50,00,41,00,54,00,48,00,25,00,00,00\n"
                "\"text\"=\"t\"\n\n");
    const std::string before = registrySnapshot();
    EXPECT_EQ(library->migrate("NATIVE", "native"), 0);
    EXPECT_EQ(registrySnapshot(), before);
}

TEST_F(Exports, NothingToMigrateWritesNothing) {
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    EXPECT_EQ(library->migrate("INI", "NATIVE"), 0);
    EXPECT_FALSE(fs::exists("zvregistry.ini"));
    EXPECT_EQ(registrySnapshot(), "");
}

// ---------------------------------------------------------------------------------------------
// Several hosts

// Several hosts with one registry each would need a user each, so they share one, and each of them
// writes all of it.
ZV_TEST_ROLE(host) {
    const Library own;
    const int rounds = std::stoi(arguments.at(0));
    for (int round = 0; rounds == 0 || round < rounds; ++round) {
        if (own.migrate("NATIVE", "INI") != 0)
            return 1;
    }
    return 0;
}

std::string registryOfHost(int values) {
    std::ostringstream lines;
    for (int key = 0; key < values / 10; ++key) {
        lines << "[HKEY_LOCAL_MACHINE\\Host\\Key" << key << "]\n";
        for (int value = 0; value < 10; ++value)
            lines << "\"v" << value << "\"=\"text " << key << '.' << value << "\"\n";
        lines << '\n';
    }
    return lines.str();
}

TEST_F(Exports, HostsMigrateIntoOneFileAtOnce) {
    constexpr int kHosts = 6;
    putRegistry(registryOfHost(300));
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    const std::string whole = readFile("zvregistry.ini");
    ASSERT_GT(whole.size(), 300u);
    // What another program has put into the file stays.
    const std::string other = "[ZV_HKEY_CONFIG\\Another]\r\nkey=value\r\n\r\n";
    writeFile("zvregistry.ini", other);
    std::vector<std::unique_ptr<SelfProcess>> hosts;
    for (int host = 0; host < kHosts; ++host)
        hosts.push_back(std::make_unique<SelfProcess>("host", Arguments{"3"}));
    for (const auto& host : hosts)
        EXPECT_EQ(host->join(), 0);
    EXPECT_EQ(readFile("zvregistry.ini"), other + whole);
}

TEST_F(Exports, AKilledHostLeavesNoLockAndNoHalfFile) {
    putRegistry(registryOfHost(2000));
    const std::string before = registrySnapshot();
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    const std::string whole = readFile("zvregistry.ini");
    ASSERT_GT(whole.size(), 2000u);
    library.reset();
    const auto entries = std::distance(fs::directory_iterator("."), fs::directory_iterator());
    for (int round = 0; round < 25; ++round) {
        fs::remove("zvregistry.ini");
        SelfProcess victim("host", {"0"});
        std::this_thread::sleep_for(std::chrono::milliseconds(10 + 3 * round));
        victim.kill();
        SelfProcess next("host", {"1"});
        ASSERT_EQ(next.join(), 0);
        ASSERT_EQ(readFile("zvregistry.ini"), whole) << round;
        EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), entries)
            << "litter after round " << round;
    }
    EXPECT_EQ(registrySnapshot(), before);
}

TEST_F(Exports, ThreadsOfOneHostMayCallAtOnce) {
    putRegistry(registryOfHost(200));
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int round = 0; round < 5; ++round)
                failures += library->migrate("NATIVE", "INI") != 0;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_NE(readFile("zvregistry.ini").find("v9=text 19.9\r\n"), std::string::npos);
}

} // namespace
