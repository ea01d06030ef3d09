// The counted holder of the process-wide services, built last and torn down first.
#ifndef ZVSUPPORT_CORE_COM_CLIENT_DATA_H
#define ZVSUPPORT_CORE_COM_CLIENT_DATA_H

#include "core/com/factory_manager.h"
#include "core/com/process_manager.h"
#include "core/com/shared_library_service.h"
#include "core/ref_counted.h"
#include "lang/thread_registry.h"

namespace zv::core {

// The members come up in this order and go down in the reverse one: the servers of components are
// unloaded while everything else is still there.
class CZvClientData final : public CZvCoreRefCounted {
public:
    // Throws EZvCoreException with the code of the first member that cannot be made.
    CZvClientData();
    ~CZvClientData() override;

    CZvThreadManager& threads() { return threadRegistry; }
    CZvSharedLibraryService& sharedLibraries() { return sharedLibraryService; }
    CZvFactoryManager& factories() { return factoryManager; }

private:
    CZvProcessManager processManager;
    CZvThreadManager threadRegistry;
    CZvSharedLibraryService sharedLibraryService;
    CZvFactoryManager factoryManager;
};

} // namespace zv::core

#endif
