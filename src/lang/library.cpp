#include "lang/library.h"

#include "lang/class.h"
#include "lang/exception.h"
#include "lang/thread_registry.h"
#include "text/charset_registry.h"
#include "util/comparator.h"

#include <clocale>
#include <cstdint>
#include <optional>
#include <utility>

namespace ZVCL {

constinit CZvMutex* g_pGlobalLock = nullptr;

namespace {

constinit std::int32_t startCount = 0;
// The handler that this library replaced; without a value it has replaced none.
constinit std::optional<zv::core::AllocFailureHandler> replacedHandler;

[[noreturn]] void throwOutOfMemory() {
    throw EZvOutOfMemory();
}

void registerClasses() {
    CZvClassTable& table = CZvClassTable::instance();
    const ClassListEntry* end = kClassList;
    while (end->type != nullptr)
        ++end;
    table.reserve(static_cast<std::size_t>(end - kClassList));
    for (const ClassListEntry* entry = kClassList; entry != end; ++entry)
        table.registerClass(entry->name, *entry->type, entry->create);
}

} // namespace

zv::core::ResultCode ZvclInitialize() noexcept {
    if (++startCount != 1)
        return zv::core::kOk;
    return resultFrame([] {
        (void)std::setlocale(LC_ALL, "");
        replacedHandler = zv::core::SetAllocFailureHandler(throwOutOfMemory);
        g_pGlobalLock = new CZvMutex("ZVCL::g_pGlobalLock");
        registerClasses();
        createCharsetRegistry();
        return zv::core::kOk;
    });
}

zv::core::ResultCode ZvclTerminate() noexcept {
    if (startCount <= 0)
        return zv::core::kFail;
    if (--startCount != 0)
        return zv::core::kOk;
    return resultFrame([] {
        CZvComparator::releaseDefault();
        destroyCharsetRegistry();
        CZvClassTable::destroy();
        delete std::exchange(g_pGlobalLock, nullptr);
        if (const auto handler = std::exchange(replacedHandler, std::nullopt))
            zv::core::SetAllocFailureHandler(*handler);
        return zv::core::kOk;
    });
}

} // namespace ZVCL
