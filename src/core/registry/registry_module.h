// The process's one registry file object and the lock of its creation.
//
// Initialize and Terminate are called by the one who uses the module, in pairs, and not while key
// operations are under way; everything else may be called by any thread in between.
#ifndef ZVSUPPORT_CORE_REGISTRY_REGISTRY_MODULE_H
#define ZVSUPPORT_CORE_REGISTRY_REGISTRY_MODULE_H

#include "core/registry/ini_file.h"
#include "core/result.h"

#include <cstdint>
#include <string>

namespace zv::core::registry {

// Makes the lock; its failure's code. Each call makes a new one.
ResultCode Initialize() noexcept;
// Discards the file object without writing, and the lock. 0.
ResultCode Terminate() noexcept;

// The registry file "zvregistry.ini" of the current directory of the moment of the first call,
// loaded on demand. Throws EZvCoreException (kFail without Initialize) and std::bad_alloc.
IniFile& EnsureLoaded();
// Null when it has not been loaded.
IniFile* LoadedFile() noexcept;

// The section of a key: its root's name, a backslash and its path. Throws EZvCoreException:
// kInvalidArgument for another root than the three, the mapped error when the user's name cannot be
// had.
std::u16string SectionName(std::uint32_t root, std::u16string_view path);

} // namespace zv::core::registry

#endif
