// What the core layer builds at its start and owns for its life.
#ifndef ZVSUPPORT_CORE_GLOBAL_DATA_H
#define ZVSUPPORT_CORE_GLOBAL_DATA_H

#include "core/handle.h"

namespace zv::core {

class CZvClientData;
class CZvModuleManager;
class IMutexProvider;

// One per process, constant-initialised; built and torn down by the core layer's first start and
// last stop, in one thread, and only read in between. After a failed build the pieces that were not
// built are null.
class CZvGlobalData {
public:
    // Sets g_spinCount and builds the members in order. Throws EZvCoreException or std::bad_alloc.
    void build();
    // The reverse. Whatever was not built is passed over.
    void tearDown() noexcept;

    IMutexProvider* mutexProvider = nullptr;
    Handle m_debugMutex = kNoHandle;
    Handle m_migrationMutex = kNoHandle; // held by the one migration that is under way
    CZvModuleManager* moduleManager = nullptr;
    CZvClientData* clientData = nullptr; // one counted reference
};

extern CZvGlobalData g_globalData;

} // namespace zv::core

#endif
