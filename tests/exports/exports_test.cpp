// The two functions as a host process meets them: through the loaded library, with real files.
#include "zvsupport/zvsupport.h"

#include "support/scratch_folder.h"

#include <array>
#include <atomic>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <dlfcn.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

// The host has an allocation operator of its own, whose blocks only it can free: a library that
// mixed the two up would crash at once.
namespace {
constexpr std::size_t kHostHeader = 64;
std::atomic<long> hostAllocations{0};
} // namespace

void* operator new(std::size_t size) {
    ++hostAllocations;
    auto* block = static_cast<char*>(std::malloc(size + kHostHeader));
    if (block == nullptr)
        throw std::bad_alloc();
    return block + kHostHeader;
}
void operator delete(void* block) noexcept {
    if (block != nullptr)
        std::free(static_cast<char*>(block) - kHostHeader);
}
void operator delete(void* block, std::size_t) noexcept {
    operator delete(block);
}

namespace {

namespace fs = std::filesystem;
using zv::test::hiveBytes;
using zv::test::hivePath;
using zv::test::readFile;
using zv::test::writeFile;

constexpr std::int32_t code(std::uint32_t bits) {
    return static_cast<std::int32_t>(bits);
}
constexpr std::int32_t kInvalidArgument = code(0x80070057);

class Library {
public:
    Library() : module(dlopen(ZV_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
        if (module == nullptr)
            throw std::runtime_error(dlerror());
        migrateFunction =
            reinterpret_cast<decltype(&RegistryMigrate)>(dlsym(module, "RegistryMigrate"));
        checkFunction = reinterpret_cast<decltype(&NWCheckUnicodeSupport)>(
            dlsym(module, "NWCheckUnicodeSupport"));
    }
    ~Library() { dlclose(module); }
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
    Exports() {
        setenv("LC_ALL", "C.UTF-8", 1);
        library = std::make_unique<Library>();
    }

    static std::string userName() {
        std::array<char, 64> name{};
        std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen("id -un", "r"), pclose);
        if (fgets(name.data(), name.size(), pipe.get()) == nullptr)
            return "?";
        std::string text(name.data());
        text.pop_back();
        return text;
    }

    zv::test::ScratchFolder folder;
    std::unique_ptr<Library> library;
};

TEST_F(Exports, NothingButTheTwoNamesIsExported) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(
        popen("nm -D --defined-only --format=posix " ZV_LIBRARY, "r"), pclose);
    std::set<std::string> names;
    std::array<char, 512> line{};
    while (fgets(line.data(), line.size(), pipe.get()) != nullptr)
        names.insert(std::string(line.data(), std::string_view(line.data()).find(' ')));
    EXPECT_EQ(names, (std::set<std::string>{"NWCheckUnicodeSupport", "RegistryMigrate"}));
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
    const std::string hive = hiveBytes("[HKEY_LOCAL_MACHINE\\K]\n\"a\"=\"b\"\n\n");
    const std::string ini = "[ZV_HKEY_CONFIG\\K]\r\nc=d\r\n\r\n";
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << (row.source ? row.source : "null") << " to "
                                        << (row.target ? row.target : "null"));
        writeFile(hivePath(), hive);
        writeFile("zvregistry.ini", ini);
        EXPECT_EQ(library->migrate(row.source, row.target), row.code);
        EXPECT_EQ(readFile(hivePath()), hive);
        EXPECT_EQ(readFile("zvregistry.ini"), ini);
        EXPECT_FALSE(fs::exists("zvregistry.ini.unmigrated"));
    }
}

TEST_F(Exports, TheUnicodeCheckAnswersThatItIsNotThereYet) {
    EXPECT_EQ(library->check("F:"), code(0x80004001));
    EXPECT_EQ(library->check(nullptr), kInvalidArgument);
}

TEST_F(Exports, LoadingOpensNothingOfTheRegistry) {
    EXPECT_FALSE(fs::exists("data"));
    EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST_F(Exports, LoadingSetsTheLocaleAndNothingElse) {
    library.reset();
    std::setlocale(LC_ALL, "C");
    library = std::make_unique<Library>();
    EXPECT_STREQ(std::setlocale(LC_CTYPE, nullptr), "C.UTF-8");
}

TEST_F(Exports, TheHostsOwnAllocationsStayItsOwn) {
    writeFile(hivePath(), hiveBytes("[HKEY_LOCAL_MACHINE\\K]\n\"a\"=\"b\"\n\n"));
    const long before = hostAllocations;
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    EXPECT_EQ(hostAllocations, before);
}

TEST_F(Exports, NativeToIniWritesExactlyTheTextsInMapOrder) {
    setenv("ZV_TEST_HOME", "C:\\Home", 1);
    const std::string longest(1023, 'x'); // 2048 bytes with its terminator
    const std::string tooLong(1024, 'y');
    writeFile(hivePath(), hiveBytes("[HKEY_LOCAL_MACHINE\\Software\\zeta]\n"
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
                                    "\"\u00FCber\"=\"\u4E2D\u6587 \U0001F600\"\n"
                                    "\"x\"=hex(2):25,00,5a,00,56,00,5f,00,54,00,45,00,53,00,54,00,"
                                    "5f,00,48,00,4f,00,4d,00,45,00,25,00,5c,00,64,00,00,00\n\n"
                                    "[HKEY_LOCAL_MACHINE\\Software\\Empty\\Deep]\n\n"
                                    "[HKEY_CLASSES_ROOT\\.zvd]\n@=\"Zentrova\"\n\n"
                                    "[HKEY_CURRENT_USER\\Me]\n\"k\"=\"v=w\"\n\n"));
    const std::string hive = readFile(hivePath());
    EXPECT_EQ(library->migrate("native", "iNi"), 0);
    EXPECT_EQ(readFile("zvregistry.ini"),
              "[ZV_HKEY_CLASSES\\.zvd]\r\n=Zentrova\r\n\r\n"
              "[ZV_HKEY_CONFIG\\Software\\Alpha\\Sub]\r\n"
              "x=C:\\Home\\d\r\n\u00FCber=\u4E2D\u6587 \U0001F600\r\n\r\n"
              "[ZV_HKEY_CONFIG\\Software\\zeta]\r\n"
              "=default\r\nA=one\r\nb=two\r\nlongest=" +
                  longest +
                  "\r\n\r\n"
                  "[ZV_HKEY_USER\\" +
                  userName() + "\\Me]\r\nk=v=w\r\n\r\n");
    EXPECT_EQ(readFile(hivePath()), hive);
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
    writeFile(hivePath(), hiveBytes("[HKEY_LOCAL_MACHINE\\K]\n"
                                    "\"a=b\"=\"1\"\n\" lead\"=\"2\"\n\"good\"=\"3\"\n"
                                    "\"lines\"=hex(1):61,00,0d,00,0a,00,62,00,00,00\n"
                                    "\"zero\"=hex(1):61,00,00,00,62,00,00,00\n\n"));
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    const std::string ini = readFile("zvregistry.ini");
    EXPECT_EQ(ini.find("a=b"), std::string::npos);
    EXPECT_EQ(ini.find("lines"), std::string::npos);
    EXPECT_EQ(ini.find("lead"), std::string::npos);
    EXPECT_NE(ini.find("\r\ngood=3\r\n"), std::string::npos);
}

TEST_F(Exports, NativeToNativeLeavesEveryValueAsItIs) {
    writeFile(hivePath(), hiveBytes("[HKEY_LOCAL_MACHINE\\K]\n\"big\"=hex(5):00,00,00,01\n"
                                    "\"expand\"=hex(2):25,00,50,00,41,00,54,00,48,00,25,00,00,00\n"
                                    "\"text\"=\"t\"\n\n"));
    const std::string before = readFile(hivePath());
    EXPECT_EQ(library->migrate("NATIVE", "native"), 0);
    EXPECT_EQ(readFile(hivePath()), before);
}

TEST_F(Exports, NothingToMigrateWritesNothing) {
    EXPECT_EQ(library->migrate("NATIVE", "INI"), 0);
    EXPECT_EQ(library->migrate("INI", "NATIVE"), 0);
    EXPECT_FALSE(fs::exists("zvregistry.ini"));
    EXPECT_FALSE(fs::exists(hivePath()));
}

// ---------------------------------------------------------------------------------------------
// Several hosts

// Runs body in a process of its own, which loads a library of its own.
template <typename Body>
pid_t inChild(Body body) {
    const pid_t child = fork();
    if (child == 0) {
        const Library own;
        body(own);
        _exit(0);
    }
    return child;
}

void expectExit(pid_t child) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

std::string hiveOfHost(int host, int values) {
    std::ostringstream lines;
    for (int key = 0; key < values / 10; ++key) {
        lines << "[HKEY_LOCAL_MACHINE\\Host" << host << "\\Key" << key << "]\n";
        for (int value = 0; value < 10; ++value)
            lines << "\"v" << value << "\"=\"text " << host << '.' << key << '.' << value << "\"\n";
        lines << '\n';
    }
    return hiveBytes(lines.str());
}

TEST_F(Exports, SixHostsMigrateDifferentHivesIntoOneFileAtOnce) {
    library.reset();
    constexpr int kHosts = 6;
    constexpr int kValues = 300;
    std::vector<pid_t> children;
    for (int host = 0; host < kHosts; ++host) {
        const fs::path data = folder.path() / ("data" + std::to_string(host));
        writeFile(data / "zentrova" / "registry.reg", hiveOfHost(host, kValues));
        setenv("XDG_DATA_HOME", data.c_str(), 1);
        children.push_back(inChild([](const Library& own) {
            if (own.migrate("NATIVE", "INI") != 0)
                _exit(1);
        }));
    }
    for (const pid_t child : children)
        expectExit(child);
    const std::string ini = readFile("zvregistry.ini");
    for (int host = 0; host < kHosts; ++host) {
        for (int key = 0; key < kValues / 10; ++key) {
            std::ostringstream section;
            section << "[ZV_HKEY_CONFIG\\Host" << host << "\\Key" << key << "]\r\n";
            for (int value = 0; value < 10; ++value)
                section << 'v' << value << "=text " << host << '.' << key << '.' << value << "\r\n";
            EXPECT_NE(ini.find(section.str()), std::string::npos) << section.str();
        }
    }
}

TEST_F(Exports, AKilledHostLeavesNoLockAndNoHalfFile) {
    library.reset();
    const std::string hive = hiveOfHost(1, 2000);
    writeFile(hivePath(), hive);
    std::string whole;
    for (int round = 0; round < 25; ++round) {
        const pid_t victim = inChild([](const Library& own) {
            for (;;)
                own.migrate("NATIVE", "INI");
        });
        usleep(static_cast<useconds_t>(1000 + round * 700));
        kill(victim, SIGKILL);
        waitpid(victim, nullptr, 0);

        const pid_t next = inChild([](const Library& own) {
            if (own.migrate("NATIVE", "INI") != 0)
                _exit(1);
        });
        expectExit(next);
        const std::string ini = readFile("zvregistry.ini");
        if (whole.empty())
            whole = ini;
        ASSERT_EQ(ini, whole) << round;
        ASSERT_GT(ini.size(), 2000u);
        EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 2)
            << "litter after round " << round;
    }
    EXPECT_EQ(readFile(hivePath()), hive);
}

TEST_F(Exports, ThreadsOfOneHostMayCallAtOnce) {
    writeFile(hivePath(), hiveOfHost(1, 200));
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
    EXPECT_NE(readFile("zvregistry.ini").find("v9=text 1.19.9\r\n"), std::string::npos);
}

} // namespace
