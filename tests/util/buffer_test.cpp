#include "core/heap.h"
#include "lang/exception.h"
#include "util/buffer_hold.h"
#include "util/mt_buffer.h"
#include "util/ro_buffer.h"
#include "util/rw_buffer.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <limits>
#include <string_view>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;

constexpr std::int32_t kMaximum = std::numeric_limits<std::int32_t>::max();

// ---------------------------------------------------------------------------------------------
// Every buffer that can be written keeps one contract.

template <typename Buffer>
class WritableBuffer : public testing::Test {
protected:
    using Unit = typename Buffer::Unit;
    using Interface = IZvBuffer<Unit>;

    // Writes the units 0, 1, 2 … by the protocol.
    static void fill(Interface& buffer, std::int32_t count) {
        Unit* data = nullptr;
        ASSERT_EQ(buffer.LockWrite(count, &data), core::kOk);
        for (std::int32_t i = 0; i < count; ++i)
            data[i] = static_cast<Unit>(i);
        ASSERT_EQ(buffer.UnlockWrite(count), core::kOk);
    }
    static bool holds(const Interface& buffer, std::int32_t count) {
        const BufferReadHold<Unit> hold(buffer);
        if (hold.length() != count)
            return false;
        for (std::int32_t i = 0; i < count; ++i) {
            if (hold.data()[i] != static_cast<Unit>(i))
                return false;
        }
        return true;
    }
};
using WritableBuffers =
    testing::Types<CZvRWByteBuffer, CZvRWCharBuffer, CZvMTByteBuffer, CZvMTCharBuffer>;
TYPED_TEST_SUITE(WritableBuffer, WritableBuffers);

TYPED_TEST(WritableBuffer, GrowsInStepsAndShrinksOnlyWhenAsked) {
    TypeParam buffer;
    EXPECT_EQ(buffer.getLength(), 0);
    EXPECT_EQ(buffer.getCapacity(), 0);
    EXPECT_EQ(buffer.getBuffer(), nullptr);
    EXPECT_TRUE(buffer.isWritable());
    struct Step {
        std::int32_t minLength, newLength, capacity, length;
    };
    const Step steps[] = {
        {1, 1, 16, 1},  {16, 0, 16, 0}, {17, 5, 32, 5},
        {3, -1, 32, 5}, {-9, 4, 32, 4}, {1000, 1000, 1008, 1000},
    };
    for (const Step& step : steps) {
        EXPECT_NE(buffer.lockWrite(step.minLength), nullptr);
        EXPECT_EQ(buffer.unlockWrite(step.newLength), step.newLength);
        EXPECT_EQ(buffer.getCapacity(), step.capacity);
        EXPECT_EQ(buffer.getLength(), step.length);
    }
    TestFixture::fill(buffer, 40);
    buffer.compact();
    EXPECT_EQ(buffer.getCapacity(), 48);
    EXPECT_TRUE(TestFixture::holds(buffer, 40));
    EXPECT_NE(buffer.reserve(49), nullptr);
    EXPECT_EQ(buffer.getCapacity(), 64);
    EXPECT_TRUE(TestFixture::holds(buffer, 40));
    TestFixture::fill(buffer, 0);
    EXPECT_EQ(buffer.Compact(), core::kOk);
    EXPECT_EQ(buffer.getCapacity(), 0);
    EXPECT_EQ(buffer.getBuffer(), nullptr);
}

TYPED_TEST(WritableBuffer, KeepsWhatItHasWhenItCannotGrow) {
    TypeParam buffer;
    TestFixture::fill(buffer, 10);
    typename TestFixture::Unit* data = nullptr;
    typename TestFixture::Interface& interface = buffer;
    EXPECT_THROW(buffer.lockWrite(kMaximum), std::bad_alloc); // rounded up, no 32-bit number
    EXPECT_EQ(interface.Reserve(kMaximum, &data), core::kOutOfMemory);
    core::setHeapGate([] { return false; });
    const ResultCode code = interface.LockWrite(17, &data);
    core::setHeapGate(nullptr);
    EXPECT_EQ(code, core::kOutOfMemory);
    EXPECT_EQ(data, nullptr);
    EXPECT_EQ(interface.LockWrite(1, &data), core::kOk);
    EXPECT_EQ(interface.UnlockWrite(17), core::kFail); // beyond what was reserved
    EXPECT_TRUE(TestFixture::holds(buffer, 10));
    EXPECT_EQ(interface.LockWrite(1, nullptr), core::kPointer);
    EXPECT_EQ(interface.LockRead(nullptr), core::kPointer);
    // No failure has left a lock behind.
    std::jthread([&] { TestFixture::fill(buffer, 12); }).join();
    EXPECT_TRUE(TestFixture::holds(buffer, 12));
}

TYPED_TEST(WritableBuffer, AWriteThatIsNotFinishedKeepsTheLength) {
    TypeParam buffer;
    TestFixture::fill(buffer, 10);
    using Hold = BufferWriteHold<typename TestFixture::Unit>;
    { Hold unfinished(buffer, 100); }
    EXPECT_TRUE(TestFixture::holds(buffer, 10));
    Hold finished(buffer, 100);
    finished.finish(3);
    EXPECT_TRUE(TestFixture::holds(buffer, 3));
}

TYPED_TEST(WritableBuffer, AnswersItsOneBufferInterface) {
    const auto buffer = makeRef<TypeParam>();
    void* found = nullptr;
    EXPECT_EQ(IZvByteBuffer::kIid, IZvCharBuffer::kIid);
    ASSERT_EQ(buffer->QueryInterface(IZvByteBuffer::kIid, &found), core::kOk);
    auto* interface = static_cast<typename TestFixture::Interface*>(found);
    TestFixture::fill(*interface, 20);
    EXPECT_EQ(buffer->getLength(), 20);
    EXPECT_EQ(interface->Release(), 1u);
}

TEST(RWCharBuffer, CopiesTextWithRoom) {
    struct Case {
        std::int32_t count, capacity, expectedCapacity, expectedLength;
    };
    for (const Case& row :
         {Case{3, 0, 16, 3}, {3, 17, 32, 3}, {0, 1, 16, 0}, {-1, 0, 0, 0}, {20, 5, 32, 20}}) {
        const CZvRWCharBuffer buffer(u"abcdefghijklmnopqrstuvwxyz", row.count, row.capacity);
        EXPECT_EQ(buffer.getCapacity(), row.expectedCapacity);
        ASSERT_EQ(buffer.getLength(), row.expectedLength);
        if (row.expectedLength > 0) {
            EXPECT_EQ(std::u16string_view(buffer.getBuffer(), 3), u"abc");
        }
    }
    EXPECT_EQ(CZvRWByteBuffer(33).getCapacity(), 48);
    EXPECT_THROW(CZvRWCharBuffer{kMaximum}, std::bad_alloc);
}

// ---------------------------------------------------------------------------------------------

template <typename Buffer>
class ReadOnlyBuffer : public testing::Test {};
using ReadOnlyBuffers = testing::Types<CZvROByteBuffer, CZvROCharBuffer>;
TYPED_TEST_SUITE(ReadOnlyBuffer, ReadOnlyBuffers);

TYPED_TEST(ReadOnlyBuffer, RefusesToBeWritten) {
    TypeParam buffer;
    using Unit = typename TypeParam::Unit;
    EXPECT_EQ(buffer.getLength(), 0);
    EXPECT_EQ(buffer.lockRead(), nullptr);
    EXPECT_FALSE(buffer.isWritable());
    EXPECT_THROW(buffer.lockWrite(1), EZvReadOnly);
    EXPECT_THROW(buffer.reserve(1), EZvReadOnly);
    EXPECT_THROW(buffer.unlockWrite(0), EZvReadOnly);
    EXPECT_NO_THROW(buffer.compact());
    IZvBuffer<Unit>& interface = buffer;
    Unit unit{};
    for (const auto operation : {&IZvBuffer<Unit>::LockWrite, &IZvBuffer<Unit>::Reserve}) {
        Unit* data = &unit;
        EXPECT_EQ((interface.*operation)(1, &data), core::kNotImplemented);
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ((interface.*operation)(1, nullptr), core::kPointer);
    }
    EXPECT_EQ(interface.UnlockWrite(0), core::kNotImplemented);
    EXPECT_EQ(interface.UnlockRead(), core::kOk);
    EXPECT_EQ(interface.Compact(), core::kOk);
    EXPECT_FALSE(interface.IsWritable());
}

TEST(ROCharBuffer, WrapsWithoutCopying) {
    const char16_t* text = u"wrapped";
    const CZvROCharBuffer buffer(text, 7);
    const BufferReadHold<char16_t> hold(buffer);
    EXPECT_EQ(hold.data(), text);
    EXPECT_EQ(hold.length(), 7);
}

// ---------------------------------------------------------------------------------------------

template <typename Buffer>
class SharedBuffer : public testing::Test {};
using SharedBuffers = testing::Types<CZvMTByteBuffer, CZvMTCharBuffer>;
TYPED_TEST_SUITE(SharedBuffer, SharedBuffers);

TYPED_TEST(SharedBuffer, ReadersShareAndAWriterIsAlone) {
    TypeParam buffer;
    EXPECT_EQ(buffer.UnlockRead(), core::kFail);
    EXPECT_EQ(buffer.UnlockWrite(0), core::kFail);
    buffer.lockRead();
    std::atomic<bool> written{false};
    std::jthread writer;
    std::jthread([&] { // a second reader at the same time
        buffer.lockRead();
        writer = std::jthread([&] {
            buffer.lockWrite(1)[0] = 7;
            written = true;
            buffer.unlockWrite(1);
        });
        EXPECT_FALSE(written);
        buffer.unlockRead();
    })
        .join();
    EXPECT_FALSE(written);
    EXPECT_EQ(buffer.getLength(), 0);
    buffer.unlockRead();
    writer.join();
    EXPECT_EQ(buffer.getLength(), 1);
}

TYPED_TEST(SharedBuffer, KeepsItsContentsWholeBetweenManyThreads) {
    TypeParam buffer;
    using Unit = typename TypeParam::Unit;
    const auto write = [&](unsigned seed) {
        for (unsigned i = 0; i < 300; ++i) {
            const auto count = static_cast<std::int32_t>((seed * 37 + i * 11) % 100 + 1);
            BufferWriteHold<Unit> hold(buffer, count);
            std::fill_n(hold.data(), count, static_cast<Unit>(count));
            hold.finish(count);
            if (i % 16 == 0)
                buffer.compact();
        }
    };
    const auto read = [&] {
        for (int i = 0; i < 300; ++i) {
            const BufferReadHold<Unit> hold(buffer);
            for (std::int32_t n = 0; n < hold.length(); ++n)
                ASSERT_EQ(hold.data()[n], static_cast<Unit>(hold.length()));
        }
    };
    std::vector<std::jthread> threads;
    threads.emplace_back(write, 1);
    threads.emplace_back(write, 2);
    threads.emplace_back(read);
    threads.emplace_back(read);
}

} // namespace
} // namespace ZVCL
