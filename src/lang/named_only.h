// Classes that the class list knows by name alone: records of theirs can be looked up, but there is
// nothing that such an object could do, and none can be created.
//
// One that comes to life takes its line out of here: as long as both exist, its name in
// class_list.cpp is ambiguous and does not compile.
#ifndef ZVSUPPORT_LANG_NAMED_ONLY_H
#define ZVSUPPORT_LANG_NAMED_ONLY_H

namespace ZVCL::named_only {

class CZvAbstractResourceBundle {};
class CZvAlphaNumInputStream {};
class CZvAlphaNumOutputStream {};
class CZvAtomic {};
class CZvBitInputStream {};
class CZvBitOutputStream {};
class CZvBufferedInputStream {};
class CZvBufferedOutputStream {};
class CZvBufferedReader {};
class CZvBufferedWriter {};
class CZvComClassFactory {};
class CZvComDllModule {};
class CZvDataOutputStream {};
class CZvDouble {};
class CZvFakeAtomic {};
class CZvFileOutputStream {};
class CZvFilterReader {};
class CZvFilterWriter {};
class CZvFloat {};
class CZvInputStreamReader {};
class CZvInteger16 {};
class CZvInteger64 {};
class CZvInteger8 {};
class CZvLocale {};
class CZvOutputStreamWriter {};
class CZvPrintWriter {};
class CZvReader {};
class CZvResourceBundle {};
class CZvRunnable {};
class CZvStringMapRB {};
class CZvTCPServerSocket {};
class CZvTCPSocket {};
class CZvThread {};
class CZvUInteger16 {};
class CZvUInteger32 {};
class CZvUInteger64 {};
class CZvUInteger8 {};
class CZvUnsignedInteger {};

} // namespace ZVCL::named_only

#endif
