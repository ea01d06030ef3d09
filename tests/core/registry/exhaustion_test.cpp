// Memory that runs out at every allocation of a migration in turn.
#include "core/heap.h"
#include "core/registry/migration.h"
#include "core/registry/native_reg_key.h"
#include "platform/win32.h"
#include "support/test_folder.h"

#include <string>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;
using namespace zv::core;
using namespace zv::test;

int allocationsLeft;
bool staysExhausted;
bool gate() {
    return --allocationsLeft != 0 && (allocationsLeft > 0 || !staysExhausted);
}

class Exhaustion {
public:
    Exhaustion(int at, bool stays) {
        allocationsLeft = at;
        staysExhausted = stays;
        setHeapGate(gate);
    }
    ~Exhaustion() { setHeapGate(nullptr); }
    Exhaustion(const Exhaustion&) = delete;
    Exhaustion& operator=(const Exhaustion&) = delete;

    bool reached() const { return allocationsLeft <= 0; }
};

const std::string kFile =
    "[ZV_HKEY_CLASSES\\.x]\r\n=default\r\n\r\n"
    "[ZV_HKEY_CONFIG\\A\\B\\C]\r\none=1\r\ntw\u00F6=\u4E2D\r\n\r\n"
    "[ZV_HKEY_CONFIG\\D]\r\nthree=a text that needs a block of its own\r\n\r\n";

const struct {
    std::uint32_t root;
    const char16_t* path;
    const char16_t* name;
    const char16_t* text;
} kValues[] = {
    {HKEY_CLASSES_ROOT_VALUE, u".x", u"", u"default"},
    {HKEY_LOCAL_MACHINE_VALUE, u"A\\B\\C", u"one", u"1"},
    {HKEY_LOCAL_MACHINE_VALUE, u"A\\B\\C", u"tw\u00F6", u"\u4E2D"},
    {HKEY_LOCAL_MACHINE_VALUE, u"D", u"three", u"a text that needs a block of its own"},
};

// How many of the values are in the system's registry; one with another text is a failure.
std::size_t valuesInRegistry() {
    std::size_t found = 0;
    for (const auto& value : kValues) {
        char16_t text[64];
        std::uint32_t size = sizeof text;
        RegValueType type;
        if (NativeRegQueryValue(value.root, value.path, value.name, type, text, size) < 0)
            continue;
        EXPECT_EQ(std::u16string(text), value.text);
        ++found;
    }
    return found;
}

class ExhaustionTest : public testing::TestWithParam<bool> {};

// body(exhaustion's place) runs until a place is not reached any more.
template <typename Body>
void atEveryAllocation(Body body) {
    bool reached = true;
    int at = 1;
    for (; reached; ++at) {
        SCOPED_TRACE(testing::Message() << "allocation " << at);
        body(at, reached);
        if (testing::Test::HasFailure())
            return;
    }
    EXPECT_GT(at, 50);
}

TEST_P(ExhaustionTest, LeavesASourceFileThatWasNotWhollyMoved) {
    atEveryAllocation([](int at, bool& reached) {
        const TestFolder folder;
        writeFile("zvregistry.ini", kFile);
        ResultCode code = kOk;
        {
            const Exhaustion exhaustion(at, GetParam());
            code = MigrateRegistry(BackendKind::Ini, 0, BackendKind::Native, 0);
            reached = exhaustion.reached();
        }
        ASSERT_TRUE(code == kOutOfMemory || (!reached && code == kOk)) << std::hex << code;
        ASSERT_FALSE(fs::exists("zvregistry.ini.unmigrated"));
        ASSERT_EQ(fs::exists("zvregistry.ini"), code < 0);
        if (code < 0) {
            ASSERT_EQ(readFile("zvregistry.ini"), kFile);
        } else {
            ASSERT_EQ(valuesInRegistry(), std::size(kValues));
        }
        // The next one finishes the work.
        ASSERT_EQ(MigrateRegistry(BackendKind::Ini, 0, BackendKind::Native, 0), kOk);
        ASSERT_EQ(valuesInRegistry(), std::size(kValues));
    });
}

TEST_P(ExhaustionTest, LeavesATargetFileThatIsOldOrNew) {
    atEveryAllocation([](int at, bool& reached) {
        const TestFolder folder;
        for (const auto& value : kValues) {
            const std::u16string text = value.text;
            ASSERT_EQ(NativeRegSetValue(value.root, value.path, value.name, kRegString, text.data(),
                                        static_cast<std::uint32_t>(2 * text.size() + 2)),
                      kOk);
        }
        const std::string old = "[zz]\r\nmine=kept\r\n\r\n";
        writeFile("zvregistry.ini", old);
        ResultCode code = kOk;
        {
            const Exhaustion exhaustion(at, GetParam());
            code = MigrateRegistry(BackendKind::Native, 0, BackendKind::Ini, 0);
            reached = exhaustion.reached();
        }
        // What only tidies up may fail in silence.
        ASSERT_TRUE(code == kOutOfMemory || code == kOk) << std::hex << code;
        const std::string now = readFile("zvregistry.ini");
        ASSERT_TRUE(now.ends_with(old)) << now;
        if (code == kOk) {
            ASSERT_EQ(now, kFile + old);
        }
        ASSERT_EQ(MigrateRegistry(BackendKind::Native, 0, BackendKind::Ini, 0), kOk);
        ASSERT_EQ(readFile("zvregistry.ini"), kFile + old);
        ASSERT_EQ(valuesInRegistry(), std::size(kValues));
    });
}

INSTANTIATE_TEST_SUITE_P(, ExhaustionTest, testing::Bool(),
                         [](const auto& info) { return info.param ? "FromThenOn" : "Once"; });

} // namespace
