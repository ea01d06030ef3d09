#include "core/files.h"
#include "core/heap.h"
#include "io/byte_array_input_stream.h"
#include "io/byte_array_output_stream.h"
#include "io/data_input_stream.h"
#include "io/file_input_stream.h"
#include "io/filter_output_stream.h"
#include "io/null_output_stream.h"
#include "io/stdio_input_stream.h"
#include "io/stdio_output_stream.h"
#include "support/converter_cases.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace ZVCL {
namespace {

using zv::core::Handle;
using zv::test::errorOf;

constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();

std::string resultError(ResultCode code) {
    return "EZvResultException " + std::to_string(code);
}

const std::uint8_t* bytesIn(const std::string& text) {
    return reinterpret_cast<const std::uint8_t*>(text.data());
}

// One command: b a byte, rN a block read into memory of exactly that size ("count:bytes"), sN skip,
// a available, mN mark, u reset, c close.
std::string answerOf(CZvInputStream& in, char command, std::int32_t number) {
    if (command == 'r') {
        const auto room = static_cast<std::size_t>(std::max(number, 0));
        const auto block = std::make_unique<std::uint8_t[]>(room);
        const std::int32_t count = in.Read(block.get(), number);
        return std::to_string(count) + ":" +
               std::string(block.get(), block.get() + std::max(count, 0));
    }
    if (command == 'u' || command == 'c')
        return command == 'u' ? in.Reset() : in.Close(), "";
    if (command == 'm')
        in.Mark(number);
    return std::to_string(command == 'b'   ? in.Read()
                          : command == 's' ? in.Skip(number)
                          : command == 'a' ? in.Available()
                                           : in.MarkSupported());
}

// What each command gave, or its error, and a blank.
std::string play(CZvInputStream& in, const std::string& script) {
    std::istringstream commands(script);
    std::string answers;
    for (std::string command; commands >> command; answers += ' ') {
        const int number = command.size() > 1 ? std::stoi(command.substr(1)) : 0;
        answers += errorOf([&] { answers += answerOf(in, command[0], number); });
    }
    return answers;
}

struct InputRow {
    std::string text; // in the stream
    const char* script;
    std::string answers;
};

using Input = ZvRef<CZvInputStream>;

Input arrayStream(const std::string& text) {
    return makeRef<CZvByteArrayInputStream>(bytesIn(text), static_cast<std::int32_t>(text.size()));
}

Input fileStream(const std::string& text) {
    zv::test::writeFile("stream", text);
    return makeRef<CZvFileInputStream>(CZvString::literal(u"stream"));
}

// Gives the least that a derived class must, and at most seven bytes at once.
class SlowStream : public CZvInputStream {
public:
    explicit SlowStream(Input in) : in(std::move(in)) {}
    using CZvInputStream::Read;
    std::int32_t Read(std::uint8_t* buffer, std::int32_t length) override {
        return in->Read(buffer, std::min(length, 7));
    }

private:
    Input in;
};

class Streams : public zv::test::FolderTest {};

TEST_F(Streams, ReadTheSameWhateverIsBehindThem) {
    const InputRow rows[] = {
        {"", "r2 b s10", "-1: -1 0 "},
        {"abc", "r2 r2 r2 r2 b", "2:ab 1:c -1: -1: -1 "},
        {"abcde\x7F\x80\xFF!", "r0 r-2147483648 s0 s-1 b s4 b b b a m10 u r7 b",
         "0: 0: 0 0 97 4 127 128 255 0 0 EZvIOError: mark/reset not supported 1:! -1 "},
        {std::string(600, 'a') + std::string(401, 'b'), "s599 b s256 b s2147483647 s1",
         "599 97 256 98 144 0 "},
    };
    Input (*const sources[])(const std::string&) = {
        arrayStream,
        fileStream,
        [](const std::string& text) -> Input {
            return makeRef<CZvFilterInputStream>(arrayStream(text));
        },
        [](const std::string& text) -> Input {
            return makeRef<CZvDataInputStream>(fileStream(text));
        },
        [](const std::string& text) -> Input { return makeRef<SlowStream>(arrayStream(text)); },
    };
    for (std::size_t source = 0; source < std::size(sources); ++source) {
        for (const InputRow& row : rows)
            EXPECT_EQ(play(*sources[source](row.text), row.script), row.answers) << source;
    }
}

TEST(ByteArrayInput, KeepsACopyAndRefusesWhatIsNoArray) {
    std::string text = "abc";
    CZvByteArrayInputStream stream(bytesIn(text), 3);
    text = "xyz";
    EXPECT_EQ(play(stream, "r5"), "3:abc ");
    EXPECT_EQ(CZvByteArrayInputStream(nullptr, 0).Read(), -1);
    EXPECT_EQ(errorOf([&] { CZvByteArrayInputStream(bytesIn(text), -1); }), "EZvRangeError");
    EXPECT_EQ(errorOf([] { CZvByteArrayInputStream(nullptr, 1); }),
              resultError(zv::core::kPointer));
}

// ---------------------------------------------------------------------------------------------
// Filters

// Both write down every call, and their own end.
struct LoggedInput : CZvInputStream {
    explicit LoggedInput(std::string& log) : log(log) {}
    ~LoggedInput() override { log += "end"; }
    std::int32_t note(const char* call, std::int32_t number) {
        log += call + std::to_string(number) + ' ';
        return number;
    }
    std::int32_t Read(std::uint8_t*, std::int32_t n) override { return note("block", n) - n; }
    std::int32_t Read() override { return note("byte", 200); }
    std::int32_t Skip(std::int32_t count) override { return note("skip", count); }
    std::int32_t Available() override { return note("available", 5); }
    void Close() override { note("close", 0); }
    bool MarkSupported() override { return note("supported", 1) != 0; }
    void Mark(std::int32_t limit) override { note("mark", limit); }
    void Reset() override { note("reset", 0); }
    std::string& log;
};

struct LoggedOutput : CZvOutputStream {
    explicit LoggedOutput(std::string& log) : log(log) {}
    ~LoggedOutput() override { log += "end"; }
    void Write(const std::uint8_t*, std::int32_t n) override {
        log += "block" + std::to_string(n) + ' ';
    }
    void Write(std::int32_t byte) override { log += "byte" + std::to_string(byte) + ' '; }
    void Flush() override { log += "flush "; }
    void Close() override { log += "close "; }
    std::string& log;
};

TEST(Filter, PassesEveryCallOnAndKeepsTheWrappedStreamAlive) {
    std::string log;
    {
        CZvDataInputStream data(makeRef<CZvFilterInputStream>(makeRef<LoggedInput>(log)));
        EXPECT_EQ(play(data, "r-7 b s-3 a m9 u c c"), "0: 200 -3 5 1    ");
        log += "| ";
    }
    EXPECT_EQ(log, "block-7 byte200 skip-3 available5 mark9 supported1 reset0 close0 close0 | end");
    log.clear();
    {
        CZvFilterOutputStream filter(makeRef<LoggedOutput>(log));
        filter.Write(nullptr, -1);
        filter.Write(0x1FF);
        filter.Flush();
        filter.Close();
        log += "| ";
    }
    EXPECT_EQ(log, "block-1 byte511 flush close | end");
    const Input kept = arrayStream("k");
    { CZvFilterInputStream filter(kept); }
    EXPECT_EQ(kept->Read(), 'k');
    const std::string refused = resultError(zv::core::kPointer);
    EXPECT_EQ(errorOf([] { CZvFilterInputStream filter(nullptr); }), refused);
    EXPECT_EQ(errorOf([] { CZvFilterOutputStream filter(nullptr); }), refused);
}

// ---------------------------------------------------------------------------------------------
// Output in memory

TEST(ByteArrayOutput, GrowsByAQuarterMoreThanIsNeeded) {
    const struct {
        std::int32_t initial;
        std::vector<std::int32_t> writes;
        std::int32_t capacity;
    } rows[] = {
        {256, {300}, 375}, {256, {256}, 256}, {256, {256, 1}, 321},       {0, {1}, 1},
        {0, {1, 1}, 2},    {0, {4}, 5},       {4, {0, -1, kLeast, 1}, 4},
    };
    for (const auto& row : rows) {
        CZvByteArrayOutputStream stream(row.initial);
        std::string expected;
        for (const std::int32_t length : row.writes) {
            const std::string part(static_cast<std::size_t>(std::max(length, 0)),
                                   static_cast<char>('a' + expected.size() % 26));
            stream.Write(bytesIn(part), length);
            expected += part;
        }
        EXPECT_EQ(stream.getCapacity(), row.capacity);
        EXPECT_EQ(zv::test::narrowed(stream.toString().view()), expected);
        for (const std::int32_t maximum : {kLeast, 0, 1, 10, stream.getSize(), kMost}) {
            std::uint8_t bytes[301] = {};
            const std::int32_t count = stream.ToByteArray(bytes, maximum);
            EXPECT_EQ(count, std::clamp(maximum, 0, stream.getSize()));
            EXPECT_EQ(reinterpret_cast<char*>(bytes), expected.substr(0, std::size_t(count)));
        }
    }
    EXPECT_EQ(errorOf([] { CZvByteArrayOutputStream(-1); }), "EZvRangeError");
}

TEST(ByteArrayOutput, IsAsItWasWhenMemoryRunsOut) {
    CZvByteArrayOutputStream stream(4);
    for (const std::int32_t byte : {'a' + 0x100, 'b' - 0x100, int{'c'}}) // the lowest 8 bits
        stream.Write(byte);
    bool thrown = false;
    zv::core::setHeapGate([] { return false; });
    try {
        stream.Write(bytesIn("def"), 3);
    } catch (std::bad_alloc&) {
        thrown = true;
    }
    zv::core::setHeapGate(nullptr);
    EXPECT_TRUE(thrown);
    EXPECT_THROW(stream.Write(bytesIn("d"), kMost), std::bad_alloc); // does not fit 32 bits
    EXPECT_EQ(zv::test::narrowed(stream.toString().view()), "abc");
    EXPECT_EQ(stream.getCapacity(), 4);
}

TEST(OutputStreams, AreMadeByName) {
    const auto made = [](const char16_t* name) {
        return ZvRef<CZvObject>::share(CZvClass::forName(name)->newInstance());
    };
    const auto array = made(u"CZvByteArrayOutputStream");
    EXPECT_EQ(dynamic_cast<CZvByteArrayOutputStream&>(*array).getCapacity(), 256);
    const auto sink = made(u"CZvNullOutputStream");
    dynamic_cast<CZvNullOutputStream&>(*sink).Write(nullptr, kMost);
    dynamic_cast<CZvOutputStream&>(*sink).Write(1);
    EXPECT_EQ(errorOf([&] { (void)sink->clone(); }), "EZvCloneNotSupported");
}

// ---------------------------------------------------------------------------------------------
// Streams of the C library

using UniqueStdio = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

UniqueStdio openStdio(const std::string& text, const char* mode) {
    zv::test::writeFile("stdio", text);
    return UniqueStdio(std::fopen("stdio", mode), std::fclose);
}

TEST_F(Streams, OfTheCLibraryReadLinesAndBytes) {
    const InputRow rows[] = {
        {"ab\ncd", "r10 r10 r10", "3:ab\n 2:cd -1: "},
        {"abcd\ne\n", "r3 r4 r2 r2 r2", "2:ab 3:cd\n 1:e 1:\n -1: "},
        {std::string("a\0b\n\0", 5), "r10 r10", std::string("4:a\0b\n 1:\0 ", 11)},
        {"ab", "r1 r0 r-2147483648 r10 r10", "-1: 0: 0: 2:ab -1: "},
        {"0123456789\xFF", "s3 b s0 s-2 b s7 b b c s-1 b u",
         "3 51 0 -2 50 7 255 -1  -1 255 EZvIOError: mark/reset not supported "},
    };
    for (const InputRow& row : rows) {
        const UniqueStdio file = openStdio(row.text, "rb");
        CZvStdioInputStream stream(file.get());
        EXPECT_EQ(play(stream, row.script), row.answers);
    }
    const UniqueStdio file = openStdio("ab\ncd", "rb");
    std::uint8_t buffer[10] = {'#', '#', '#', '#', '#'};
    EXPECT_EQ(CZvStdioInputStream(file.get()).Read(buffer, 10), 3);
    EXPECT_EQ(std::string(buffer, buffer + 5), std::string("ab\n\0#", 5));
}

TEST_F(Streams, OfTheCLibraryWriteAndStayOpen) {
    UniqueStdio file = openStdio("", "wb");
    CZvStdioOutputStream out(file.get());
    out.Write(0x141);
    out.Write(-1);
    out.Write(bytesIn(std::string("b\0\n", 3)), 3);
    out.Flush();
    EXPECT_EQ(zv::test::readFile("stdio"), std::string("A\xFF\x62\0\n", 5));
    out.Close();
    out.Write('z');
    file.reset();
    EXPECT_EQ(zv::test::readFile("stdio"), std::string("A\xFF\x62\0\nz", 6));
}

// A failed write leaves the error flag, which the reader meets.
TEST_F(Streams, OfTheCLibrarySayWhatFailed) {
    const UniqueStdio file = openStdio("text", "rb");
    CZvStdioOutputStream out(file.get());
    EXPECT_EQ(errorOf([&] { out.Write('x'); }), "EZvIOError: stream write error");
    EXPECT_EQ(errorOf([&] { out.Write(bytesIn("xy"), 2); }), "EZvIOError: stream write error");
    out.Write(bytesIn("xy"), 0);
    out.Write(bytesIn("xy"), kLeast);
    CZvStdioInputStream in(file.get());
    EXPECT_EQ(play(in, "b r4 s1"), "EZvIOError: stream read error EZvIOError: stream read error "
                                   "EZvIOError: stream seek error ");
    const std::string refused = resultError(zv::core::kPointer);
    EXPECT_EQ(errorOf([] { CZvStdioInputStream stream(nullptr); }), refused);
    EXPECT_EQ(errorOf([] { CZvStdioOutputStream stream(nullptr); }), refused);

    const UniqueStdio full(std::fopen("/dev/full", "wb"), std::fclose);
    if (full == nullptr)
        GTEST_SKIP() << "no disk that is always full: the flush is not tested";
    CZvStdioOutputStream(full.get()).Write('x');
    EXPECT_EQ(errorOf([&] { CZvStdioOutputStream(full.get()).Flush(); }),
              "EZvIOError: stream flush error");
}

TEST_F(Streams, OfTheCLibraryAreTheProcesssOwnByDefault) {
    std::ungetc('i', stdin);
    EXPECT_EQ(CZvStdioInputStream().Read(), 'i');
    testing::internal::CaptureStdout();
    CZvStdioOutputStream().Write(bytesIn("printed"), 7);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "printed");
}

// ---------------------------------------------------------------------------------------------
// Files

TEST_F(Streams, OpenFilesOrSayWhyNot) {
    zv::test::writeFile("there", "x");
    std::filesystem::create_directory("folder");
    const struct {
        std::u16string path;
        ResultCode code;
    } rows[] = {
        {u"missing", zv::core::kFileNotFound},
        {u"no/such/folder", zv::core::kFileNotFound},
        {u"", zv::core::kFileNotFound},
        {u"folder", zv::core::kAccessDenied},
        {std::u16string(260, u'x'), zv::core::kInvalidArgument},
        {std::u16string(u"there\0hidden", 12), zv::core::kInvalidArgument},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(errorOf([&] { CZvFileInputStream stream{CZvString(row.path)}; }),
                  resultError(row.code));
    }
    // Others may write meanwhile, and the reader sees it.
    CZvFileInputStream reader(CZvString::literal(u"there"));
    EXPECT_EQ(play(reader, "b b"), "120 -1 ");
    zv::test::writeFile("there", "xy");
    EXPECT_EQ(play(reader, "b b"), "121 -1 ");
}

TEST_F(Streams, CloseTheFilesThatTheyOwn) {
    constexpr Handle stray = 0x7FFFFFF0; // stands for no object of the process
    const std::string invalid = resultError(zv::core::kInvalidHandle) + ' ';
    zv::test::writeFile("file", "text");
    const auto open = [](std::uint32_t flags) {
        Handle handle = zv::core::kNoHandle;
        EXPECT_EQ(zv::core::ZvFileOpen(u"file", flags, 0700, handle), zv::core::kOk);
        return handle;
    };
    for (const bool owns : {false, true}) {
        const Handle handle = open(zv::core::kFileRead);
        CZvFileInputStream stream(handle, owns);
        EXPECT_EQ(play(stream, "r2 c c r4 s1"), "2:te   " + invalid + invalid);
        EXPECT_EQ(zv::core::ZvFileClose(handle), owns ? zv::core::kInvalidHandle : zv::core::kOk);
        // The system's refusal is told once, and never by the destructor.
        CZvFileInputStream refused(stray, owns);
        EXPECT_EQ(play(refused, "r4 c c"), invalid + (owns ? invalid : " ") + " ");
        CZvFileInputStream(stray, owns);
    }
    CZvFileInputStream writeOnly(open(zv::core::kFileWrite), true);
    EXPECT_EQ(play(writeOnly, "r4"), resultError(zv::core::kAccessDenied) + ' ');
}

} // namespace
} // namespace ZVCL
