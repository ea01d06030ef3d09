#include "text/writer.h"

#include "core/heap.h"
#include "core/result.h"
#include "lang/class.h"
#include "lang/string.h"
#include "support/converter_cases.h"
#include "text/null_writer.h"
#include "text/string_writer.h"
#include "util/mt_buffer.h"
#include "util/ro_buffer.h"
#include "util/rw_buffer.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace ZVCL {
namespace {

using zv::test::errorOf;

// Writes down what reaches the one primitive, and what a sink does beside it.
class LoggingWriter final : public CZvWriter {
public:
    using CZvWriter::write;
    void write(const char16_t* chars, std::int32_t count) override {
        log += std::to_string(count) + "<" +
               zv::test::narrowed({chars, static_cast<std::size_t>(count)}) + ">";
        if (full)
            throw EZvIOError();
    }
    std::string log;
    bool full = false;
};

// A character buffer that notes how it is read, and may refuse.
class LoggingBuffer final : public CZvAbstractCharBuffer {
public:
    explicit LoggingBuffer(std::string& log) : log(log) {}
    std::int32_t getLength() const override { return 3; }
    const char16_t* getBuffer() const override { return u"abc"; }
    const char16_t* lockRead() const override {
        log += "lock ";
        if (refusesLock)
            throw EZvResultException(-5);
        return u"abc";
    }
    void unlockRead() const override {
        log += " unlock";
        if (refusesUnlock)
            throw EZvResultException(-6);
    }
    bool isWritable() const override { return false; }
    char16_t* lockWrite(std::int32_t) override { throw EZvReadOnly(); }
    char16_t* reserve(std::int32_t) override { throw EZvReadOnly(); }
    std::int32_t unlockWrite(std::int32_t) override { throw EZvReadOnly(); }
    void compact() override {}
    bool refusesLock = false, refusesUnlock = false;

private:
    std::string& log;
};

TEST(Writer, BringsEveryWayDownToOne) {
    LoggingWriter writer;
    writer.write(CZvString(u"ab"));
    writer.write(u"cd");
    writer.write(u'e');
    writer.write(CZvString());
    writer.write(u"");
    writer.write(static_cast<const char16_t*>(nullptr));
    writer.write(CZvString(u"f\0g", 3)); // counted, not up to the zero
    writer.flush();
    writer.close();
    EXPECT_EQ(writer.log, std::string("2<ab>2<cd>1<e>0<>0<>3<f\0g>", 26));
}

TEST(Writer, HoldsTheBufferWhileItWrites) {
    static const struct {
        bool refusesLock, refusesUnlock, full;
        const char* error;
        const char* log;
    } cases[] = {
        {false, false, false, "", "lock 3<abc> unlock"},
        {true, false, false, "EZvResultException -5", "lock "},
        {false, true, false, "EZvResultException -6", "lock 3<abc> unlock"},
        {false, false, true, "EZvIOError", "lock 3<abc> unlock"},
        {false, true, true, "EZvIOError", "lock 3<abc> unlock"},
    };
    for (const auto& row : cases) {
        LoggingWriter writer;
        LoggingBuffer buffer(writer.log);
        buffer.refusesLock = row.refusesLock;
        buffer.refusesUnlock = row.refusesUnlock;
        writer.full = row.full;
        EXPECT_EQ(errorOf([&] { writer.write(buffer); }), row.error);
        EXPECT_EQ(writer.log, row.log);
    }
}

TEST(StringWriter, Gathers) {
    for (const std::int32_t capacity : {0, 1, 1000, -1}) {
        CZvStringWriter writer(capacity);
        EXPECT_EQ(writer.toString().view(), u"");
        writer.write(u"ab");
        const CZvString early = writer.toString();
        writer.write(u'c');
        writer.write(u"de", 1);
        EXPECT_EQ(writer.toString().view(), u"abcd");
        EXPECT_EQ(early.view(), u"ab");
        writer.write(u"unused", 0);
        writer.write(nullptr, 0);
        writer.write(CZvString());
        writer.write(CZvROCharBuffer());
        writer.flush();
        writer.close();
        EXPECT_EQ(writer.toString().view(), u"abcd");
        writer.write(writer.toString()); // its own text
        writer.write(writer.toString().getBuffer() + 2, 2);
        EXPECT_EQ(writer.toString().view(), u"abcdabcdcd");
        writer.write(u'\0');
        writer.write(CZvROCharBuffer(u"y\0z", 3));
        EXPECT_EQ(writer.toString().view(), std::u16string_view(u"abcdabcdcd\0y\0z", 14));
    }
}

TEST(StringWriter, TakesEveryCharacterBuffer) {
    const auto locked = makeRef<CZvMTCharBuffer>();
    *locked->lockWrite(1) = u'm';
    locked->unlockWrite(1);
    CZvStringWriter writer;
    writer.write(*locked);
    writer.write(CZvRWCharBuffer(u"rw", 2, 0));
    writer.write(CZvROCharBuffer(u"ro", 2));
    EXPECT_EQ(writer.toString().view(), u"mrwro");
    locked->lockWrite(2); // the read was ended
    locked->unlockWrite(1);
}

TEST(StringWriter, StaysAsItWasWhenAWriteFails) {
    CZvStringWriter writer;
    writer.write(u"kept");
    for (const std::int32_t count : {-1, -2, std::numeric_limits<std::int32_t>::min()})
        EXPECT_EQ(errorOf([&] { writer.write(u"text", count); }), "EZvRangeError");
    const std::u16string long_(100, u'x');
    zv::core::setHeapGate([] { return false; });
    ResultCode code = zv::core::kOk;
    code = resultFrame([&] {
        writer.write(long_.c_str());
        return zv::core::kOk;
    });
    zv::core::setHeapGate(nullptr);
    EXPECT_EQ(code, zv::core::kOutOfMemory);
    EXPECT_EQ(writer.toString().view(), u"kept");
}

TEST(NullWriter, TakesEverythingAndKeepsNothing) {
    CZvNullWriter writer;
    std::string log;
    LoggingBuffer refusing(log);
    refusing.refusesLock = true;
    EXPECT_EQ(errorOf([&] {
                  writer.write(refusing);
                  writer.write(u"text");
                  writer.write(nullptr, -1);
                  writer.write(u'c');
                  writer.flush();
                  writer.close();
              }),
              "");
    EXPECT_EQ(log, "");
}

TEST(Writers, AreMadeByName) {
    for (const char16_t* name : {u"CZvStringWriter", u"CZvNullWriter"}) {
        const auto object = ZvRef<CZvObject>::share(CZvClass::forName(name)->newInstance());
        auto* writer = dynamic_cast<CZvWriter*>(object.get());
        ASSERT_NE(writer, nullptr);
        writer->write(u"ab");
        EXPECT_EQ(object->getClass().getName(), std::u16string_view(name));
    }
    EXPECT_EQ(errorOf([] { (void)CZvClass::forName(u"CZvWriter")->newInstance(); }),
              "EZvIllegalAccess");
}

} // namespace
} // namespace ZVCL
