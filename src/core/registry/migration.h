// Copying the whole configuration registry from one back-end to another.
#ifndef ZVSUPPORT_CORE_REGISTRY_MIGRATION_H
#define ZVSUPPORT_CORE_REGISTRY_MIGRATION_H

#include "core/registry/reg_key.h"

#include <cstdint>
#include <string>

namespace zv::core {

enum class BackendKind : std::int32_t {
    Native = 0, // the Windows registry
    Ini = 1,    // the registry file
    File = 2,   // a name without a back-end
};

// A key object of the kind's class. Throws EZvCoreException, kNoSuchBackend for a kind without one.
CoreRef<CRegKey> CreateRegKey(std::uint32_t root, const std::u16string& path, BackendKind kind);

// Copies every value under the three roots, sub-keys before values. A value that cannot be read or
// written is left out. An INI source is deleted afterwards, or moved aside when it holds anything
// that was not carried. From NATIVE to NATIVE every value is read and stays as it is.
//
// 0; kInvalidArgument, and nothing is touched, from INI to INI; kNoSuchBackend; kOutOfMemory; the
// code of a key whose sub-keys cannot be enumerated. After a failure what was copied stays copied,
// and an INI source stays where it is. The parameters are not used. Any thread; one migration at a
// time is carried out in a process.
ResultCode MigrateRegistry(BackendKind source, std::int32_t sourceParam, BackendKind target,
                           std::int32_t targetParam) noexcept;

} // namespace zv::core

#endif
