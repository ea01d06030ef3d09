#include "lang/class.h"

#include "core/wide_text.h"
#include "lang/exception.h"
#include "lang/library.h"
#include "lang/string.h"

#include <algorithm>
#include <atomic>

namespace ZVCL {

namespace {

// The one table, or null; changed under the global lock. Release and acquire make the empty table's
// construction visible to whoever meets the pointer outside it.
constinit std::atomic<CZvClassTable*> theTable{nullptr};

auto lowerName(const std::vector<ZvRef<CZvClass>>& records, const char16_t* name) {
    return std::lower_bound(records.begin(), records.end(), name,
                            [](const ZvRef<CZvClass>& record, const char16_t* sought) {
                                return zv::core::wcscmp(record->getName(), sought) < 0;
                            });
}

auto lowerType(const std::vector<ZvRef<CZvClass>>& records, const std::type_info& type) {
    return std::lower_bound(records.begin(), records.end(), type,
                            [](const ZvRef<CZvClass>& record, const std::type_info& sought) {
                                return record->getType().before(sought);
                            });
}

// Room for one more, so that the insertion itself cannot fail.
void makeRoom(std::vector<ZvRef<CZvClass>>& records) {
    if (records.size() == records.capacity())
        records.reserve(2 * records.size() + 8);
}

} // namespace

ZvRef<CZvClass> CZvClass::forName(const char16_t* name) {
    if (CZvClass* found = name != nullptr ? CZvClassTable::instance().findName(name) : nullptr)
        return ZvRef<CZvClass>::share(found);
    throw EZvClassNotFound(CZvString(name));
}

ZvRef<CZvClass> CZvClass::forType(const std::type_info& type) {
    if (CZvClass* found = CZvClassTable::instance().findType(type))
        return ZvRef<CZvClass>::share(found);
    throw EZvClassNotFound(CZvString::fromNarrow(type.name()));
}

CZvObject* CZvClass::newInstance() const {
    if (create == nullptr)
        throw EZvIllegalAccess();
    return create();
}

CZvClassTable& CZvClassTable::instance() {
    CZvClassTable* table = theTable.load(std::memory_order_acquire);
    if (table == nullptr) {
        if (g_pGlobalLock == nullptr)
            throw EZvIllegalState();
        const LockHold hold(*g_pGlobalLock);
        table = theTable.load(std::memory_order_relaxed);
        if (table == nullptr) {
            table = new CZvClassTable;
            theTable.store(table, std::memory_order_release);
        }
    }
    return *table;
}

void CZvClassTable::destroy() noexcept {
    if (theTable.load(std::memory_order_acquire) == nullptr)
        return;
    const LockHold hold(*g_pGlobalLock); // a table was made under it, so it is there
    delete theTable.exchange(nullptr, std::memory_order_acq_rel);
}

void CZvClassTable::reserve(std::size_t records) {
    byName.reserve(records);
    byType.reserve(records);
}

void CZvClassTable::registerClass(const char16_t* name, const std::type_info& type,
                                  CZvClass::Create create) {
    if (findName(name) != nullptr)
        return;
    const ZvRef<CZvClass> record = makeRef<CZvClass>(name, type, create);
    makeRoom(byName);
    makeRoom(byType);
    byName.insert(lowerName(byName, name), record);
    if (findType(type) == nullptr)
        byType.insert(lowerType(byType, type), record);
}

CZvClass* CZvClassTable::findName(const char16_t* name) const noexcept {
    const auto place = lowerName(byName, name);
    const bool found = place != byName.end() && zv::core::wcscmp((*place)->getName(), name) == 0;
    return found ? place->get() : nullptr;
}

CZvClass* CZvClassTable::findType(const std::type_info& type) const noexcept {
    const auto place = lowerType(byType, type);
    return place != byType.end() && (*place)->getType() == type ? place->get() : nullptr;
}

} // namespace ZVCL
