#include "zvsupport/zvsupport.h"

#include "core/registry/migration.h"
#include "exports/export_frame.h"
#include "lang/exception.h"
#include "lang/string.h"

namespace {

using namespace zv;

struct BackendName {
    const char16_t* name;
    core::BackendKind kind;
};

constexpr BackendName kBackends[] = {
    {u"INI", core::BackendKind::Ini},
    {u"NATIVE", core::BackendKind::Native},
    {u"FILE", core::BackendKind::File},
};

// The whole name has to match, in any case of letters. Throws EZvResultException.
core::BackendKind ParseBackendName(const ZVCL::CZvString& name) {
    for (const BackendName& backend : kBackends) {
        if (name.regionEquals(0, -1, backend.name, -1, 0, true))
            return backend.kind;
    }
    throw ZVCL::EZvResultException(core::kInvalidArgument);
}

core::BackendKind parseNarrowName(const char* name) {
    if (name == nullptr)
        throw ZVCL::EZvResultException(core::kInvalidArgument);
    return ParseBackendName(ZVCL::CZvString::fromNarrow(name));
}

} // namespace

ZV_EXPORT int32_t ZV_STDCALL RegistryMigrate(const char* sourceName, int32_t sourceParam,
                                             const char* targetName, int32_t targetParam) {
    return exports::exportFrame([&] {
        const core::BackendKind source = parseNarrowName(sourceName);
        const core::BackendKind target = parseNarrowName(targetName);
        return core::MigrateRegistry(source, sourceParam, target, targetParam);
    });
}
