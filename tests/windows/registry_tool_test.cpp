// Values that the system's own tool writes into the real registry, read back by the native
// back-end.
#include "core/registry/native_reg_key.h"
#include "core/wide_text.h"
#include "platform/win32.h"
#include "support/run_program.h"
#include "support/scratch_folder.h"
#include "windows/system_facts.h"

#include <filesystem>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace zv::core {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

std::string bytesOf(std::u16string_view text) {
    return {reinterpret_cast<const char*>(text.data()), 2 * text.size()};
}

// "reg add" on a key of this process; the key goes with the fixture. The registry is the real one:
// the tool does not know of a test's own.
class RegistryTool : public testing::Test {
protected:
    RegistryTool()
        : path("Software\\Zentrova Tool Test " + std::to_string(GetCurrentProcessId())) {}
    ~RegistryTool() override {
        RegDeleteKeyA(RootKeyFromValue(HKEY_CURRENT_USER_VALUE), path.c_str());
        std::filesystem::current_path(std::filesystem::temp_directory_path());
        std::filesystem::remove_all(folder);
    }
    void SetUp() override {
        folder = std::filesystem::temp_directory_path() / ("zvtool" + path.substr(path.rfind(' ')));
        std::filesystem::create_directory(folder);
        std::filesystem::current_path(folder);
    }

    void add(const std::string& arguments) {
        const test::Outcome outcome =
            test::runProgram("reg", "add \"HKCU\\" + path + "\" /f " + arguments);
        EXPECT_EQ(outcome.status, 0) << outcome.output;
    }

    std::string path;
    std::filesystem::path folder;
};

TEST_F(RegistryTool, WritesWhatTheNativeBackEndReads) {
    const struct {
        const char* arguments;
        RegValueType type;
        std::string data;
    } rows[] = {
        {"/t REG_SZ /d \"a text\"", kRegString, bytesOf(u"a text\0"sv)},
        {"/t REG_EXPAND_SZ /d %ZV_TEST_HOME%", kRegString, bytesOf(u"C:\\Home\0"sv)},
        {"/t REG_MULTI_SZ /d one\\0two", kRegMultiString, bytesOf(u"one\0two\0\0"sv)},
        {"/t REG_DWORD /d 258", kRegNumber, "\2\1\0\0"s},
        {"/t REG_DWORD_BIG_ENDIAN /d 258", REG_DWORD_BIG_ENDIAN, "\2\1\0\0"s},
        {"/t REG_BINARY /d 0102ff", kRegBinary, "\1\2\xFF"},
        {"/t REG_NONE /d x", kRegBinary, bytesOf(u"x\0"sv)},
    };
    const auto key = makeCoreRef<CNativeRegKey>(HKEY_CURRENT_USER_VALUE, widen(path));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.arguments);
        test::setVariable("ZV_TEST_HOME", nullptr); // or the shell would put it in
        add("/v value "s + row.arguments);
        test::setVariable("ZV_TEST_HOME", "C:\\Home");
        char data[256];
        std::uint32_t size = sizeof data;
        RegValueType type = 99;
        EXPECT_EQ(key->queryValue(u"value", type, data, size), kOk);
        EXPECT_EQ(type, row.type);
        EXPECT_EQ(std::string(data, size), row.data);
    }
}

TEST_F(RegistryTool, ReadsWhatTheNativeBackEndWrites) {
    const std::uint32_t number = 0x01020304;
    const std::u16string_view list = u"a\0bc\0\0"sv;
    const auto root = makeCoreRef<CNativeRegKey>(HKEY_CURRENT_USER_VALUE, u"");
    const auto set = [&](const char16_t* name, RegValueType type, const void* data,
                         std::size_t size) {
        EXPECT_EQ(root->setValue(HKEY_CURRENT_USER_VALUE, widen(path), name, type, data,
                                 static_cast<std::uint32_t>(size)),
                  kOk);
    };
    set(u"text", kRegString, u"t x", 8);
    set(u"expand", kRegExpandString, u"%none%", 14);
    set(u"number", kRegNumber, &number, 4);
    set(u"list", kRegMultiString, list.data(), 2 * list.size());
    set(u"bytes", kRegBinary, &number, 3);
    const std::string output = test::runProgram("reg", "query \"HKCU\\" + path + "\"").output;
    for (const char* line : {"text    REG_SZ    t x", "expand    REG_EXPAND_SZ    %none%",
                             "number    REG_DWORD    0x1020304", "list    REG_MULTI_SZ    a\\0bc",
                             "bytes    REG_BINARY    040302"})
        EXPECT_NE(output.find(line), std::string::npos) << line << '\n' << output;
}

// A key that the back-end makes is open to everyone: it has a security descriptor without a list.
TEST_F(RegistryTool, KeysAreOpenToEveryone) {
    const auto root = makeCoreRef<CNativeRegKey>(HKEY_CURRENT_USER_VALUE, u"");
    ASSERT_EQ(root->setValue(HKEY_CURRENT_USER_VALUE, widen(path), u"n", kRegString, u"v", 4), kOk);
    if (test::keepsNoAccessList())
        GTEST_SKIP() << "this system takes no notice of the descriptor that a new key is given";
    EXPECT_EQ(test::accessListOf(path), "none");
}

} // namespace
} // namespace zv::core
