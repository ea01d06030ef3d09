// An event that releases whoever waits at the moment of its pulse.
#ifndef ZVSUPPORT_LANG_EVENT_H
#define ZVSUPPORT_LANG_EVENT_H

#include "core/sync.h"
#include "lang/sync_object.h"

namespace ZVCL {

class CZvEvent final : public CZvSyncObject {
public:
    // Local to the process, whatever its name. Throws EZvResultException with the core event's
    // code.
    explicit CZvEvent(const char* name = nullptr, std::uint32_t flags = 0);

    // Waits for the next pulse.
    void acquire() override;
    // Whether the event is signalled at this moment, which a pulse alone never leaves behind.
    bool tryAcquire() override;
    // False when no pulse came in that time. Throws EZvResultException when the wait fails.
    virtual bool waitFor(std::uint32_t milliseconds);
    // Releases every thread that waits now; one that comes later waits for the next pulse.
    virtual void pulse();

private:
    zv::core::UniqueSync handle;
};

} // namespace ZVCL

#endif
