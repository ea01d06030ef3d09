// Stand-ins for the classes that the class list names and that do not exist yet: their records need
// a type, but cannot create anything.
//
// A class that comes into being takes its line out of here and its place in class_list.cpp; as long
// as both exist the name there is ambiguous and does not compile.
#ifndef ZVSUPPORT_LANG_LATER_CLASSES_H
#define ZVSUPPORT_LANG_LATER_CLASSES_H

namespace ZVCL::later {

class CZvAbstractCollection {};
class CZvAbstractList {};
class CZvAbstractMap {};
class CZvAbstractResourceBundle {};
class CZvAbstractSet {};
class CZvAlphaNumInputStream {};
class CZvAlphaNumOutputStream {};
class CZvArrayList {};
class CZvAtomic {};
class CZvBitInputStream {};
class CZvBitOutputStream {};
class CZvBufferedInputStream {};
class CZvBufferedOutputStream {};
class CZvBufferedReader {};
class CZvBufferedWriter {};
class CZvCollection {};
class CZvComClassFactory {};
class CZvComDllModule {};
class CZvComparator {};
class CZvConstIterator {};
class CZvConstListIterator {};
class CZvDataOutputStream {};
class CZvDouble {};
class CZvFakeAtomic {};
class CZvFileOutputStream {};
class CZvFilterReader {};
class CZvFilterWriter {};
class CZvFloat {};
class CZvHashMap {};
class CZvInputStreamReader {};
class CZvInteger16 {};
class CZvInteger64 {};
class CZvInteger8 {};
class CZvIterator {};
class CZvLinkedList {};
class CZvList {};
class CZvListIterator {};
class CZvLocale {};
class CZvMap {};
class CZvMapEntry {};
class CZvOutputStreamWriter {};
class CZvPrintWriter {};
class CZvReader {};
class CZvResourceBundle {};
class CZvRunnable {};
class CZvSet {};
class CZvStringMapRB {};
class CZvTCPServerSocket {};
class CZvTCPSocket {};
class CZvThread {};
class CZvUInteger16 {};
class CZvUInteger32 {};
class CZvUInteger64 {};
class CZvUInteger8 {};
class CZvUnsignedInteger {};

} // namespace ZVCL::later

#endif
