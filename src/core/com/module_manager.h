// The set of modules that are attached to the library.
#ifndef ZVSUPPORT_CORE_COM_MODULE_MANAGER_H
#define ZVSUPPORT_CORE_COM_MODULE_MANAGER_H

#include "core/mutex.h"

#include <cstddef>
#include <cstdint>
#include <set>

namespace zv::core {

// Any thread may call any operation. Each throws EZvCoreException when the lock fails.
class CZvModuleManager {
public:
    CZvModuleManager();

    // Adds the module (known by an address inside it); no change when it is there already.
    void ProcessAttach(std::uintptr_t module);
    // Removes it; no change when it is not there.
    void ProcessDetach(std::uintptr_t module);

    std::size_t moduleCount();

private:
    UniqueMutex m_setLock;
    std::set<std::uintptr_t> modules;
};

} // namespace zv::core

#endif
