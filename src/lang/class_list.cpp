// The static class list: which classes the library knows by name, in registration order. The one
// place that reaches up to every layer of the class library.
#include "core/com/file_path.h"
#include "io/byte_array_input_stream.h"
#include "io/byte_array_output_stream.h"
#include "io/data_input_stream.h"
#include "io/file_input_stream.h"
#include "io/filter_output_stream.h"
#include "io/null_output_stream.h"
#include "io/stdio_input_stream.h"
#include "io/stdio_output_stream.h"
#include "lang/big_decimal.h"
#include "lang/big_integer.h"
#include "lang/class.h"
#include "lang/event.h"
#include "lang/exception.h"
#include "lang/gate.h"
#include "lang/guid.h"
#include "lang/integer32.h"
#include "lang/mutex.h"
#include "lang/named_only.h"
#include "lang/number.h"
#include "lang/rw_lock.h"
#include "lang/semaphore.h"
#include "lang/string.h"
#include "text/code_page_converters.h"
#include "text/null_writer.h"
#include "text/single_byte_converters.h"
#include "text/string_writer.h"
#include "text/utf16_converters.h"
#include "text/utf32_converters.h"
#include "text/utf8_converters.h"
#include "text/writer.h"
#include "util/array_list.h"
#include "util/hash_map.h"
#include "util/linked_list.h"
#include "util/mt_buffer.h"
#include "util/ro_buffer.h"
#include "util/rw_buffer.h"

namespace ZVCL {

using namespace named_only;

namespace {

template <typename Class>
constexpr ClassListEntry named(const char16_t* name) {
    return {name, &typeid(Class), nullptr};
}

template <typename Class>
constexpr ClassListEntry creatable(const char16_t* name) {
    return {name, &typeid(Class), []() -> CZvObject* { return new Class; }};
}

} // namespace

// Three names stand twice; the first one counts.
constinit const ClassListEntry kClassList[] = {
    named<CZvAbstractByteBuffer>(u"CZvAbstractByteBuffer"),
    named<CZvAbstractCharBuffer>(u"CZvAbstractCharBuffer"),
    named<CZvAbstractCollection>(u"CZvAbstractCollection"),
    named<CZvAbstractList>(u"CZvAbstractList"),
    named<CZvAbstractMap>(u"CZvAbstractMap"),
    named<CZvAbstractResourceBundle>(u"CZvAbstractResourceBundle"),
    named<CZvAbstractSet>(u"CZvAbstractSet"),
    named<CZvAlphaNumInputStream>(u"CZvAlphaNumInputStream"),
    named<CZvAlphaNumOutputStream>(u"CZvAlphaNumOutputStream"),
    creatable<CZvArrayList>(u"CZvArrayList"),
    named<CZvAtomic>(u"CZvAtomic"),
    creatable<CZvBigDecimal>(u"CZvBigDecimal"),
    creatable<CZvBigInteger>(u"CZvBigInteger"),
    named<CZvBitInputStream>(u"CZvBitInputStream"),
    named<CZvBitOutputStream>(u"CZvBitOutputStream"),
    named<CZvBTCSingleByte>(u"CZvBTCSingleByte"),
    named<CZvBTCSingleByteTable>(u"CZvBTCSingleByteTable"),
    named<CZvBufferedInputStream>(u"CZvBufferedInputStream"),
    named<CZvBufferedOutputStream>(u"CZvBufferedOutputStream"),
    named<CZvBufferedReader>(u"CZvBufferedReader"),
    named<CZvBufferedWriter>(u"CZvBufferedWriter"),
    named<CZvByteArrayInputStream>(u"CZvByteArrayInputStream"),
    creatable<CZvByteArrayOutputStream>(u"CZvByteArrayOutputStream"),
    named<CZvByteToCharConverter>(u"CZvByteToCharConverter"),
    named<CZvCharToByteConverter>(u"CZvCharToByteConverter"),
    named<CZvClass>(u"CZvClass"),
    named<CZvCTBSingleByte>(u"CZvCTBSingleByte"),
    named<CZvCTBSingleByteTable>(u"CZvCTBSingleByteTable"),
    named<CZvCollection>(u"CZvCollection"),
    named<CZvComClassFactory>(u"CZvComClassFactory"),
    named<CZvComDllModule>(u"CZvComDllModule"),
    named<CZvComObject>(u"CZvComObject"),
    named<CZvComparator>(u"CZvComparator"),
    named<CZvConstIterator>(u"CZvConstIterator"),
    named<CZvConstListIterator>(u"CZvConstListIterator"),
    named<CZvDataInputStream>(u"CZvDataInputStream"),
    named<CZvDataOutputStream>(u"CZvDataOutputStream"),
    named<CZvDouble>(u"CZvDouble"),
    creatable<CZvEvent>(u"CZvEvent"),
    named<CZvFakeAtomic>(u"CZvFakeAtomic"),
    creatable<CZvFakeMutex>(u"CZvFakeMutex"),
    named<CZvFileInputStream>(u"CZvFileInputStream"),
    named<CZvFileOutputStream>(u"CZvFileOutputStream"),
    named<CZvFilePath>(u"CZvFilePath"),
    named<CZvFilterInputStream>(u"CZvFilterInputStream"),
    named<CZvFilterOutputStream>(u"CZvFilterOutputStream"),
    named<CZvFilterReader>(u"CZvFilterReader"),
    named<CZvFilterWriter>(u"CZvFilterWriter"),
    named<CZvFloat>(u"CZvFloat"),
    creatable<CZvGate>(u"CZvGate"),
    named<CZvGuid>(u"CZvGuid"),
    creatable<CZvHashMap>(u"CZvHashMap"),
    named<CZvInputStream>(u"CZvInputStream"),
    named<CZvInputStreamReader>(u"CZvInputStreamReader"),
    named<CZvInteger16>(u"CZvInteger16"),
    named<CZvInteger32>(u"CZvInteger32"),
    named<CZvInteger64>(u"CZvInteger64"),
    named<CZvInteger8>(u"CZvInteger8"),
    named<CZvIterator>(u"CZvIterator"),
    creatable<CZvLinkedList>(u"CZvLinkedList"),
    named<CZvList>(u"CZvList"),
    named<CZvListIterator>(u"CZvListIterator"),
    named<CZvLocale>(u"CZvLocale"),
    named<CZvLockObject>(u"CZvLockObject"),
    named<CZvMap>(u"CZvMap"),
    named<CZvMapEntry>(u"CZvMapEntry"),
    creatable<CZvMTByteBuffer>(u"CZvMTByteBuffer"),
    creatable<CZvMTCharBuffer>(u"CZvMTCharBuffer"),
    creatable<CZvMutex>(u"CZvMutex"),
    creatable<CZvNullOutputStream>(u"CZvNullOutputStream"),
    creatable<CZvNullWriter>(u"CZvNullWriter"),
    named<CZvNumber>(u"CZvNumber"),
    creatable<CZvObject>(u"CZvObject"),
    named<CZvOutputStream>(u"CZvOutputStream"),
    named<CZvOutputStreamWriter>(u"CZvOutputStreamWriter"),
    named<CZvPrintWriter>(u"CZvPrintWriter"),
    named<CZvReader>(u"CZvReader"),
    named<CZvResourceBundle>(u"CZvResourceBundle"),
    creatable<CZvROByteBuffer>(u"CZvROByteBuffer"),
    creatable<CZvROCharBuffer>(u"CZvROCharBuffer"),
    named<CZvRunnable>(u"CZvRunnable"),
    creatable<CZvRWByteBuffer>(u"CZvRWByteBuffer"),
    creatable<CZvRWCharBuffer>(u"CZvRWCharBuffer"),
    creatable<CZvRWLock>(u"CZvRWLock"),
    creatable<CZvSemaphore>(u"CZvSemaphore"),
    named<CZvSet>(u"CZvSet"),
    named<CZvSignedInteger>(u"CZvSignedInteger"),
    creatable<CZvStdioInputStream>(u"CZvStdioInputStream"),
    creatable<CZvStdioOutputStream>(u"CZvStdioOutputStream"),
    creatable<CZvString>(u"CZvString"),
    named<CZvStringMapRB>(u"CZvStringMapRB"),
    creatable<CZvStringWriter>(u"CZvStringWriter"),
    named<CZvSyncObject>(u"CZvSyncObject"),
    named<CZvTCPServerSocket>(u"CZvTCPServerSocket"),
    named<CZvTCPSocket>(u"CZvTCPSocket"),
    named<CZvThread>(u"CZvThread"),
    named<CZvUInteger16>(u"CZvUInteger16"),
    named<CZvUInteger32>(u"CZvUInteger32"),
    named<CZvUInteger64>(u"CZvUInteger64"),
    named<CZvUInteger8>(u"CZvUInteger8"),
    named<CZvUnsignedInteger>(u"CZvUnsignedInteger"),
    named<CZvWriter>(u"CZvWriter"),
    named<EZvAccessViolation>(u"EZvAccessViolation"),
    named<EZvArrayBounds>(u"EZvArrayBounds"),
    creatable<EZvCastFailed>(u"EZvCastFailed"),
    creatable<EZvClassNotFound>(u"EZvClassNotFound"),
    creatable<EZvCloneNotSupported>(u"EZvCloneNotSupported"),
    creatable<EZvException>(u"EZvException"),
    named<EZvExternal>(u"EZvExternal"),
    creatable<EZvIllegalAccess>(u"EZvIllegalAccess"),
    named<EZvIllegalInstruction>(u"EZvIllegalInstruction"),
    creatable<EZvIllegalState>(u"EZvIllegalState"),
    creatable<EZvIntDivByZero>(u"EZvIntDivByZero"),
    creatable<EZvIntError>(u"EZvIntError"),
    creatable<EZvIntOverflow>(u"EZvIntOverflow"),
    creatable<EZvInvalidCharacter>(u"EZvInvalidCharacter"),
    creatable<EZvInvalidPath>(u"EZvInvalidPath"),
    named<EZvIntDivByZero>(u"EZvIntDivByZero"),
    named<EZvIntError>(u"EZvIntError"),
    named<EZvIntOverflow>(u"EZvIntOverflow"),
    creatable<EZvIOError>(u"EZvIOError"),
    creatable<EZvIOTimeout>(u"EZvIOTimeout"),
    named<EZvMathDivByZero>(u"EZvMathDivByZero"),
    named<EZvMathError>(u"EZvMathError"),
    named<EZvMathInvalidOp>(u"EZvMathInvalidOp"),
    named<EZvMathOverflow>(u"EZvMathOverflow"),
    named<EZvMathUnderflow>(u"EZvMathUnderflow"),
    creatable<EZvOutOfMemory>(u"EZvOutOfMemory"),
    creatable<EZvRangeError>(u"EZvRangeError"),
    creatable<EZvReadOnly>(u"EZvReadOnly"),
    named<EZvStackOverflow>(u"EZvStackOverflow"),
    creatable<EZvUnexpectedEOF>(u"EZvUnexpectedEOF"),
    creatable<EZvUnknownEncoding>(u"EZvUnknownEncoding"),
    creatable<EZvUnmappableCharacter>(u"EZvUnmappableCharacter"),
    creatable<EZvUnsupportedOperation>(u"EZvUnsupportedOperation"),
    named<EZvUserAbort>(u"EZvUserAbort"),
    creatable<CZvCTBASCII>(u"CZvCTBASCII"),
    creatable<CZvBTCASCII>(u"CZvBTCASCII"),
    creatable<CZvCTBISO8859_1>(u"CZvCTBISO8859_1"),
    creatable<CZvBTCISO8859_1>(u"CZvBTCISO8859_1"),
    creatable<CZvCTBCP437>(u"CZvCTBCP437"),
    creatable<CZvBTCCP437>(u"CZvBTCCP437"),
    creatable<CZvCTBCP1252>(u"CZvCTBCP1252"),
    creatable<CZvBTCCP1252>(u"CZvBTCCP1252"),
    creatable<CZvBTCUTF8>(u"CZvBTCUTF8"),
    creatable<CZvCTBUTF8>(u"CZvCTBUTF8"),
    creatable<CZvCTBUTF16LE>(u"CZvCTBUTF16LE"),
    creatable<CZvBTCUTF16LE>(u"CZvBTCUTF16LE"),
    creatable<CZvCTBUTF16BE>(u"CZvCTBUTF16BE"),
    creatable<CZvBTCUTF16BE>(u"CZvBTCUTF16BE"),
    creatable<CZvCTBUTF32LE>(u"CZvCTBUTF32LE"),
    creatable<CZvBTCUTF32LE>(u"CZvBTCUTF32LE"),
    creatable<CZvCTBUTF32BE>(u"CZvCTBUTF32BE"),
    creatable<CZvBTCUTF32BE>(u"CZvBTCUTF32BE"),
    {nullptr, nullptr, nullptr},
};

} // namespace ZVCL
