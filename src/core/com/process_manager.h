// Bookkeeping across the processes that use the library: built and torn down with the client data,
// and otherwise an extension point that nothing adds to.
#ifndef ZVSUPPORT_CORE_COM_PROCESS_MANAGER_H
#define ZVSUPPORT_CORE_COM_PROCESS_MANAGER_H

#include "core/mutex.h"

namespace zv::core {

class CZvProcessManager {
public:
    // Throws EZvCoreException when the mutex cannot be made.
    CZvProcessManager();

private:
    UniqueMutex m_setMutex;
};

} // namespace zv::core

#endif
