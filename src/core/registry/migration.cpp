#include "core/registry/migration.h"

#include "core/global_data.h"
#include "core/mutex.h"
#include "core/registry/ini_reg_key.h"
#include "core/registry/native_reg_key.h"
#include "core/registry/registry_module.h"
#include "platform/win32.h"

#include <utility>
#include <vector>

namespace zv::core {

namespace {

constexpr std::uint32_t kRoots[] = {HKEY_CLASSES_ROOT_VALUE, HKEY_LOCAL_MACHINE_VALUE,
                                    HKEY_CURRENT_USER_VALUE};

// Where the values of a migration go, and what follows from their arrival.
class Carrier {
public:
    Carrier(BackendKind source, BackendKind target) : source(source), target(target) {}

    // Reads from the file come in runs, from here on.
    void begin() {
        if (source == BackendKind::Ini)
            registry::EnsureLoaded().beginRun();
    }

    // Writes into the file are collected, from the first value on.
    void copyValue(CRegKey& key, const std::u16string& name, CRegKey& targetKey) {
        if (target == BackendKind::Ini && !batching)
            batching = beginBatch();
        const ResultCode code = readOrCopy(key, name, targetKey);
        if (code == kOutOfMemory)
            throw EZvCoreException(code);
        if (code >= 0 && source == BackendKind::Ini) {
            registry::EnsureLoaded().markCarried(
                registry::SectionName(key.getRoot(), key.getPath()), name);
        }
    }

    // Writes what is still collected, also after a failure: what was copied stays copied. Values
    // that cannot be written are passed over; 0 or kOutOfMemory.
    ResultCode finish() noexcept {
        if (IniFile* file = registry::LoadedFile(); file != nullptr && source == BackendKind::Ini) {
            coreFrame([&] {
                file->endRun();
                return kOk;
            });
        }
        if (!std::exchange(batching, false))
            return kOk;
        const ResultCode code = coreFrame([] {
            registry::EnsureLoaded().endBatch();
            return kOk;
        });
        return code == kOutOfMemory ? code : kOk;
    }

private:
    // False while the file cannot be read: its values cannot be written either.
    static bool beginBatch() {
        const ResultCode code = coreFrame([] {
            registry::EnsureLoaded().beginBatch();
            return kOk;
        });
        if (code == kOutOfMemory)
            throw EZvCoreException(code);
        return code >= 0;
    }

    ResultCode readOrCopy(CRegKey& key, const std::u16string& name, CRegKey& targetKey) const {
        if (source != target)
            return key.copyValue(name, targetKey);
        // A value written onto itself stays as it is: it is read, and not written with the type
        // that reading has made of it (an expanded text, a number in the other byte order).
        unsigned char data[kRegCopyLimit];
        std::uint32_t size = kRegCopyLimit;
        RegValueType type = kRegString;
        return key.queryValue(name.c_str(), type, data, size);
    }

    BackendKind source;
    BackendKind target;
    bool batching = false;
};

// Depth first, sub-keys before values. The keys on the way down are on a stack of their own: how
// deep a tree goes is up to whoever made it.
void CopyKeyTree(CoreRef<CRegKey> source, CRegKey& target, Carrier& carrier) {
    std::vector<CoreRef<CRegKey>> way;
    way.push_back(std::move(source));
    while (!way.empty()) {
        CRegKey& key = *way.back();
        if (key.hasNextSubKey()) {
            way.push_back(key.nextSubKey());
            continue;
        }
        while (key.hasNextValue())
            carrier.copyValue(key, key.nextValue(), target);
        way.pop_back();
    }
}

// One at a time: the registry module has one file object and one lock for the process.
ResultCode migrateAlone(BackendKind source, BackendKind target) noexcept {
    if (const ResultCode code = registry::Initialize(); code < 0)
        return code;
    Carrier carrier(source, target);
    ResultCode code = coreFrame([&] {
        for (const std::uint32_t root : kRoots) {
            CoreRef<CRegKey> sourceKey = CreateRegKey(root, u"", source);
            const CoreRef<CRegKey> targetKey = CreateRegKey(root, u"", target);
            carrier.begin();
            CopyKeyTree(std::move(sourceKey), *targetKey, carrier);
        }
        return kOk;
    });
    const ResultCode finished = carrier.finish();
    if (code >= 0)
        code = finished;
    if (code >= 0 && source == BackendKind::Ini) {
        code = coreFrame([] {
            if (IniFile* file = registry::LoadedFile())
                file->retire();
            return kOk;
        });
    }
    registry::Terminate();
    return code;
}

} // namespace

CoreRef<CRegKey> CreateRegKey(std::uint32_t root, const std::u16string& path, BackendKind kind) {
    switch (kind) {
    case BackendKind::Native:
        return makeCoreRef<CNativeRegKey>(root, path);
    case BackendKind::Ini:
        return makeCoreRef<CIniRegKey>(root, path);
    default:
        throw EZvCoreException(kNoSuchBackend);
    }
}

ResultCode MigrateRegistry(BackendKind source, std::int32_t, BackendKind target,
                           std::int32_t) noexcept {
    // The move would delete the file that holds the result.
    if (source == BackendKind::Ini && target == BackendKind::Ini)
        return kInvalidArgument;
    return coreFrame([=] {
        const MutexHold hold(g_globalData.m_migrationMutex);
        return migrateAlone(source, target);
    });
}

} // namespace zv::core
