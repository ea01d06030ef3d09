#include "io/data_input_stream.h"

#include "io/byte_array_input_stream.h"
#include "io/byte_array_output_stream.h"
#include "io/file_input_stream.h"
#include "io/serialized_header.h"
#include "support/converter_cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <sstream>
#include <string>

namespace ZVCL {
namespace {

using zv::test::Bytes;
using zv::test::errorOf;

ZvRef<CZvInputStream> streamOf(const Bytes& bytes) {
    return makeRef<CZvByteArrayInputStream>(bytes.data(), static_cast<std::int32_t>(bytes.size()));
}

// Gives between 0 and `most` bytes at once.
class SlowStream : public CZvInputStream {
public:
    SlowStream(const Bytes& bytes, std::int32_t most) : in(streamOf(bytes)), most(most) {}
    using CZvInputStream::Read;
    std::int32_t Read(std::uint8_t* buffer, std::int32_t length) override {
        return in->Read(buffer, std::min(length, turn++ % (most + 1)));
    }

private:
    ZvRef<CZvInputStream> in;
    std::int32_t most;
    std::int32_t turn = 0;
};

template <auto operation>
std::string read(CZvDataInputStream& in) {
    std::ostringstream out;
    out << +(in.*operation)();
    return out.str();
}
using In = CZvDataInputStream;

// Each value is followed by another byte; and the stream is cut at each byte of the value.
TEST(DataInput, ReadsBigEndianValues) {
    const struct {
        std::string (*operation)(In&);
        Bytes bytes;
        const char* value;
    } rows[] = {
        {read<&In::ReadBoolean>, {0x00}, "0"},
        {read<&In::ReadBoolean>, {0x02}, "1"},
        {read<&In::ReadInt8>, {0x7F}, "127"},
        {read<&In::ReadInt8>, {0x80}, "-128"},
        {read<&In::ReadInt16>, {0x12, 0x34}, "4660"},
        {read<&In::ReadInt16>, {0xFF, 0xFE}, "-2"},
        {read<&In::ReadChar>, {0xFF, 0xFE}, "65534"},
        {read<&In::ReadInt32>, {0x12, 0x34, 0x56, 0x78}, "305419896"},
        {read<&In::ReadInt32>, {0x80, 0x00, 0x00, 0x00}, "-2147483648"},
        {read<&In::ReadInt>, {0xFF, 0xFF, 0xFF, 0xFF}, "-1"},
        {read<&In::ReadInt64>, {0x00, 0x00, 0x00, 0x01, 0x80, 0x00, 0x00, 0x00}, "6442450944"},
        {read<&In::ReadInt64>,
         {0x80, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00},
         "-9223372036854775808"},
        {read<&In::ReadFloat>, {0x3F, 0x80, 0x00, 0x00}, "1"},
        {read<&In::ReadFloat>, {0xC0, 0x49, 0x0F, 0xDB}, "-3.14159"},
        {read<&In::ReadDouble>, {0x3F, 0xF0, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00}, "1"},
        {read<&In::ReadDouble>, {0x40, 0x09, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18}, "3.14159"},
    };
    for (const auto& row : rows) {
        CZvDataInputStream whole(streamOf(row.bytes + std::uint8_t{0xA5}));
        EXPECT_EQ(row.operation(whole), row.value);
        EXPECT_EQ(whole.Read(), 0xA5) << row.value;
        for (std::size_t cut = 0; cut < row.bytes.size(); ++cut) {
            const auto source = streamOf(row.bytes.substr(0, cut));
            CZvDataInputStream in(source);
            EXPECT_EQ(errorOf([&] { row.operation(in); }), "EZvUnexpectedEOF");
            EXPECT_EQ(source->Read(), -1) << row.value; // what there was has been taken
        }
    }
}

TEST(DataInput, FillsABlockHoweverTheBytesCome) {
    Bytes bytes;
    for (std::size_t i = 0; i < 100; ++i)
        bytes += static_cast<std::uint8_t>(i);
    for (const std::int32_t most : {1, 2, 7, 99, 100, 1000}) {
        CZvDataInputStream in(makeRef<SlowStream>(bytes, most));
        Bytes block(99, 0);
        EXPECT_EQ(in.ReadString().getLength(), 0); // reads nothing
        in.ReadFully(nullptr, 0);
        in.ReadFully(nullptr, -1);
        in.ReadFully(block.data(), 99);
        EXPECT_EQ(block, bytes.substr(0, 99)) << most;
        EXPECT_EQ(errorOf([&] { in.ReadFully(block.data(), 2); }), "EZvUnexpectedEOF");
        EXPECT_EQ(block[0], 99) << most;
    }
}

// A class that reads its numbers otherwise changes what stands on them.
TEST(DataInput, BuildsOnWhatADerivedClassReads) {
    class Derived : public CZvDataInputStream {
    public:
        using CZvDataInputStream::CZvDataInputStream;
        std::int16_t ReadInt16() override { return 0x0102; }
        std::int32_t ReadInt32() override { return 0x3F800000; }
    };
    class DerivedWide : public Derived {
    public:
        using Derived::Derived;
        std::int64_t ReadInt64() override { return 0x3FF0000000000000; }
    };
    DerivedWide in(streamOf({}));
    EXPECT_EQ(in.ReadChar(), 0x0102);
    EXPECT_EQ(in.ReadInt(), 0x3F800000);
    EXPECT_EQ(in.ReadFloat(), 1.0f);
    EXPECT_EQ(in.Derived::ReadInt64(), 0x3F8000003F800000);
    EXPECT_EQ(in.ReadDouble(), 1.0);
}

constexpr CZvGuid kVersion(u"{14064191-0D38-4817-8100-239421E44555}");
const Bytes kHeader = {0x14, 0x06, 0x41, 0x91, 0x0D, 0x38, 0x48, 0x17,
                       0x81, 0x00, 0x23, 0x94, 0x21, 0xE4, 0x45, 0x55};

TEST(SerializedHeader, IsReadAndRefusedByEveryByte) {
    CZvByteArrayOutputStream out;
    writeSerializedHeader(out, kVersion);
    Bytes bytes(16, 0);
    EXPECT_EQ(out.ToByteArray(bytes.data(), out.getSize()), 16);
    EXPECT_EQ(bytes, kHeader);
    bytes += 0x2A;
    CZvDataInputStream same(streamOf(bytes));
    readSerializedHeader(same, kVersion);
    EXPECT_EQ(same.ReadInt8(), 0x2A);
    for (std::size_t at = 0; at < kHeader.size(); ++at) {
        bytes[at] ^= 0x80;
        CZvDataInputStream other(streamOf(bytes));
        bytes[at] ^= 0x80;
        EXPECT_EQ(errorOf([&] { readSerializedHeader(other, kVersion); }),
                  "EZvException: Serialized Object versions do not match.");
        EXPECT_EQ(other.Read(), 0x2A) << at; // the whole header has been taken

        CZvDataInputStream cut(streamOf(kHeader.substr(0, at)));
        EXPECT_EQ(errorOf([&] { readSerializedHeader(cut, kVersion); }), "EZvUnexpectedEOF") << at;
    }
    // The stream's own failures pass through.
    CZvDataInputStream closed(makeRef<CZvFileInputStream>(zv::core::kNoHandle, true));
    EXPECT_EQ(errorOf([&] { readSerializedHeader(closed, kVersion); }),
              "EZvResultException " + std::to_string(zv::core::kInvalidHandle));
}

} // namespace
} // namespace ZVCL
