// A gate: open, it lets everybody through; closed, it keeps everybody waiting.
#ifndef ZVSUPPORT_LANG_GATE_H
#define ZVSUPPORT_LANG_GATE_H

#include "core/sync.h"
#include "lang/sync_object.h"

namespace ZVCL {

class CZvGate final : public CZvSyncObject {
public:
    // Closed, and local to the process, whatever its name. Throws EZvResultException with the core
    // gate's code.
    explicit CZvGate(const char* name = nullptr, std::uint32_t flags = 0);

    // Waits until the gate is open.
    void acquire() override;
    bool tryAcquire() override;
    // False when the gate stayed closed for that time. Throws EZvResultException when the wait
    // fails.
    virtual bool waitFor(std::uint32_t milliseconds);
    virtual void open();
    virtual void close();

private:
    zv::core::UniqueSync handle;
};

} // namespace ZVCL

#endif
