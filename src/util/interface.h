// The common root of the collection framework's interfaces.
#ifndef ZVSUPPORT_UTIL_INTERFACE_H
#define ZVSUPPORT_UTIL_INTERFACE_H

#include "lang/unknown.h"

namespace ZVCL {

// The IZvUnknown that all interfaces of one object share: they derive from this class virtually. A
// class of the library has another one in CZvComObject, its primary address (util/element.h), and
// implements both with the same three functions.
class CZvInterface : public IZvUnknown {
protected:
    ~CZvInterface() = default;
};

} // namespace ZVCL

#endif
