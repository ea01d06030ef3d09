// The counted holder of the process-wide services, built last and torn down first.
#ifndef ZVSUPPORT_CORE_COM_CLIENT_DATA_H
#define ZVSUPPORT_CORE_COM_CLIENT_DATA_H

#include "core/com/process_manager.h"
#include "core/ref_counted.h"
#include "lang/thread_registry.h"

namespace zv::core {

// The members come up in this order and go down in the reverse one.
class CZvClientData final : public CZvCoreRefCounted {
public:
    CZvClientData();
    ~CZvClientData() override;

    CZvThreadManager& threads() { return threadRegistry; }

private:
    CZvProcessManager processManager;
    CZvThreadManager threadRegistry;
};

} // namespace zv::core

#endif
