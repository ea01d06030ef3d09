#include "lang/class.h"

#include "core/heap.h"
#include "core/lifecycle.h"
#include "core/wide_text.h"
#include "lang/exception.h"
#include "lang/gate.h"
#include "lang/library.h"
#include "lang/string.h"
#include "lang/thread_registry.h"

#include <memory>
#include <new>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace ZVCL {
namespace {

namespace core = zv::core;

// Every record in registration order; a star marks those that can be created.
constexpr std::u16string_view kExpected =
    u"CZvAbstractByteBuffer CZvAbstractCharBuffer CZvAbstractCollection CZvAbstractList "
    u"CZvAbstractMap CZvAbstractResourceBundle CZvAbstractSet CZvAlphaNumInputStream "
    u"CZvAlphaNumOutputStream CZvArrayList* CZvAtomic CZvBigDecimal* CZvBigInteger* "
    u"CZvBitInputStream CZvBitOutputStream CZvBTCSingleByte CZvBTCSingleByteTable "
    u"CZvBufferedInputStream CZvBufferedOutputStream CZvBufferedReader CZvBufferedWriter "
    u"CZvByteArrayInputStream CZvByteArrayOutputStream* CZvByteToCharConverter "
    u"CZvCharToByteConverter CZvClass CZvCTBSingleByte CZvCTBSingleByteTable CZvCollection "
    u"CZvComClassFactory CZvComDllModule CZvComObject CZvComparator CZvConstIterator "
    u"CZvConstListIterator CZvDataInputStream CZvDataOutputStream CZvDouble CZvEvent* "
    u"CZvFakeAtomic CZvFakeMutex* CZvFileInputStream CZvFileOutputStream CZvFilePath "
    u"CZvFilterInputStream CZvFilterOutputStream CZvFilterReader CZvFilterWriter CZvFloat "
    u"CZvGate* CZvGuid CZvHashMap* CZvInputStream CZvInputStreamReader CZvInteger16 "
    u"CZvInteger32 CZvInteger64 CZvInteger8 CZvIterator CZvLinkedList* CZvList CZvListIterator "
    u"CZvLocale CZvLockObject CZvMap CZvMapEntry CZvMTByteBuffer* CZvMTCharBuffer* CZvMutex* "
    u"CZvNullOutputStream* CZvNullWriter* CZvNumber CZvObject* CZvOutputStream "
    u"CZvOutputStreamWriter CZvPrintWriter CZvReader CZvResourceBundle CZvROByteBuffer* "
    u"CZvROCharBuffer* CZvRunnable CZvRWByteBuffer* CZvRWCharBuffer* CZvRWLock* CZvSemaphore* "
    u"CZvSet CZvSignedInteger CZvStdioInputStream* CZvStdioOutputStream* CZvString* "
    u"CZvStringMapRB CZvStringWriter* CZvSyncObject CZvTCPServerSocket CZvTCPSocket CZvThread "
    u"CZvUInteger16 CZvUInteger32 CZvUInteger64 CZvUInteger8 CZvUnsignedInteger CZvWriter "
    u"EZvAccessViolation EZvArrayBounds EZvCastFailed* EZvClassNotFound* EZvCloneNotSupported* "
    u"EZvException* EZvExternal EZvIllegalAccess* EZvIllegalInstruction EZvIllegalState* "
    u"EZvIntDivByZero* EZvIntError* EZvIntOverflow* EZvInvalidCharacter* EZvInvalidPath* "
    u"EZvIntDivByZero EZvIntError EZvIntOverflow EZvIOError* EZvIOTimeout* EZvMathDivByZero "
    u"EZvMathError EZvMathInvalidOp EZvMathOverflow EZvMathUnderflow EZvOutOfMemory* "
    u"EZvRangeError* EZvReadOnly* EZvStackOverflow EZvUnexpectedEOF* EZvUnknownEncoding* "
    u"EZvUnmappableCharacter* EZvUnsupportedOperation* EZvUserAbort CZvCTBASCII* CZvBTCASCII* "
    u"CZvCTBISO8859_1* CZvBTCISO8859_1* CZvCTBCP437* CZvBTCCP437* CZvCTBCP1252* CZvBTCCP1252* "
    u"CZvBTCUTF8* CZvCTBUTF8* CZvCTBUTF16LE* CZvBTCUTF16LE* CZvCTBUTF16BE* CZvBTCUTF16BE* "
    u"CZvCTBUTF32LE* CZvBTCUTF32LE* CZvCTBUTF32BE* CZvBTCUTF32BE*";

std::vector<std::u16string> expectedRecords() {
    std::vector<std::u16string> records(1);
    for (const char16_t ch : kExpected) {
        if (ch == u' ')
            records.emplace_back();
        else
            records.back() += ch;
    }
    return records;
}

TEST(ClassList, HasEveryRecordInOrder) {
    const std::vector<std::u16string> expected = expectedRecords();
    ASSERT_EQ(expected.size(), 154u);
    std::set<std::u16string> seen;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        std::u16string name = expected[i];
        const bool creatable = name.back() == u'*';
        if (creatable)
            name.pop_back();
        const ClassListEntry& entry = kClassList[i];
        ASSERT_NE(entry.type, nullptr) << i;
        EXPECT_EQ(std::u16string(entry.name), name);
        EXPECT_EQ(entry.create == nullptr, !creatable) << i;
        if (!seen.insert(name).second)
            continue; // the second of two records is never registered
        const ZvRef<CZvClass> record = CZvClass::forName(entry.name);
        EXPECT_EQ(record->getName(), entry.name);
        EXPECT_EQ(CZvClass::forType(*entry.type).get(), record.get());
        if (entry.create == nullptr) {
            EXPECT_THROW((void)record->newInstance(), EZvIllegalAccess);
            continue;
        }
        const auto object = ZvRef<CZvObject>::share(record->newInstance());
        EXPECT_TRUE(record->isInstance(*object)) << i;
        EXPECT_EQ(&object->getClass(), record.get()) << i;
        EXPECT_EQ(object->AddRef(), 2u);
        object->Release();
    }
    EXPECT_EQ(kClassList[expected.size()].type, nullptr);
    EXPECT_EQ(CZvClassTable::instance().size(), 151u);
}

TEST(Class, IsFoundByItsExactNameAndType) {
    const auto record = CZvClass::forName(std::u16string(u"CZvString").c_str());
    const auto string = ZvRef<CZvObject>::share(record->newInstance());
    EXPECT_EQ(string->toString().getLength(), 0);
    EXPECT_FALSE(CZvClass::forName(u"CZvObject")->isInstance(*string));
    EXPECT_TRUE(CZvClass::forName(u"CZvClass")->isInstance(*record));
    for (const char16_t* unknown : {u"czvstring", u"CZvStrin", u"CZvStringX", u""}) {
        try {
            CZvClass::forName(unknown);
            ADD_FAILURE() << "found";
        } catch (EZvClassNotFound& exception) {
            EXPECT_EQ(exception.getMessage().view(), unknown);
        }
    }
    EXPECT_THROW(CZvClass::forName(nullptr), EZvClassNotFound);
    EXPECT_THROW(CZvClass::forType(typeid(int)), EZvClassNotFound);
}

TEST(ClassTable, TheFirstRegistrationOfANameCounts) {
    CZvClassTable table;
    const std::u16string sameText = u"A";
    table.registerClass(u"A", typeid(int), [] { return new CZvObject; });
    table.registerClass(sameText.c_str(), typeid(long), nullptr);
    table.registerClass(u"B", typeid(char), nullptr);
    EXPECT_EQ(table.size(), 2u);
    ASSERT_NE(table.findName(u"A"), nullptr);
    EXPECT_NO_THROW((void)ZvRef<CZvObject>::share(table.findName(u"A")->newInstance()));
    EXPECT_EQ(table.findType(typeid(int)), table.findName(u"A"));
    EXPECT_EQ(table.findType(typeid(long)), nullptr);
    EXPECT_EQ(table.findName(u"a"), nullptr);
}

// The test program has started the library once.
TEST(Library, CountsItsStarts) {
    EXPECT_EQ(ZvclInitialize(), core::kOk);
    EXPECT_EQ(ZvclTerminate(), core::kOk);
    const ZvRef<CZvClass> kept = CZvClass::forName(u"CZvGate");

    const auto sentinel = [] {};
    EXPECT_EQ(ZvclTerminate(), core::kOk);
    EXPECT_EQ(g_pGlobalLock, nullptr);
    EXPECT_THROW(CZvClass::forName(u"CZvGate"), EZvIllegalState);
    EXPECT_EQ(CZvObject().toString().view().substr(0, 10), u"CZvObject@");
    EXPECT_EQ(kept->getName(), std::u16string_view(u"CZvGate"));
    EXPECT_EQ(ZvclTerminate(), core::kFail);
    // The handler of before the start is back; one that is set now outlives the next start and
    // stop.
    EXPECT_EQ(core::SetAllocFailureHandler(sentinel), nullptr);
    EXPECT_EQ(ZvclInitialize(), core::kOk);
    EXPECT_EQ(ZvclTerminate(), core::kOk);
    EXPECT_EQ(core::SetAllocFailureHandler(nullptr), +sentinel);

    EXPECT_EQ(ZvclInitialize(), core::kOk);
    EXPECT_NE(CZvClass::forName(u"CZvGate").get(), kept.get());
    EXPECT_FALSE(kept->isInstance(*kept));
}

int allocationsAdmitted;

// Each allocation of a start-up fails in turn: the code is answered, and the matching shut-down
// leaves nothing behind.
TEST(Library, SurvivesEveryAllocationFailureAtStart) {
    ASSERT_EQ(ZvclTerminate(), core::kOk);
    int failures = 0;
    for (int admitted = 0;; ++admitted) {
        allocationsAdmitted = admitted;
        core::setHeapGate([] { return allocationsAdmitted-- > 0; });
        const core::ResultCode code = ZvclInitialize();
        core::setHeapGate(nullptr);
        if (code == core::kOk)
            break;
        EXPECT_EQ(code, core::kOutOfMemory) << admitted;
        EXPECT_EQ(ZvclInitialize(), core::kOk); // nested: only counted
        EXPECT_EQ(ZvclTerminate(), core::kOk);
        EXPECT_EQ(ZvclTerminate(), core::kOk);
        EXPECT_EQ(g_pGlobalLock, nullptr);
        ++failures;
        ASSERT_LT(admitted, 2000);
    }
    EXPECT_GT(failures, 150);
    EXPECT_EQ(CZvClassTable::instance().size(), 151u);
}

TEST(Library, AnExhaustedHeapThrowsTheFamilysException) {
    core::setHeapGate([] { return false; });
    bool thrown = false;
    try {
        operator delete(operator new(16)); // a new expression might be optimised away
    } catch (EZvOutOfMemory&) {
        thrown = true;
    } catch (...) {
    }
    core::setHeapGate(nullptr);
    EXPECT_TRUE(thrown);
}

} // namespace
} // namespace ZVCL
